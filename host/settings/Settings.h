#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/HostError.h"
#include "host/settings/SettingDefinition.h"

namespace zrhost {

enum class SettingSource { kDefault, kFile, kEnvironment, kOption };

// Where the settings of one run come from beside the environment.
struct SettingsRequest {
  std::string configFile;                          // the file of --config; empty when that was not given
  std::map<std::string, std::string> given;        // by SettingDefinition::key(), as they were typed
  std::map<std::string, std::string> optionNames;  // the options that gave them, by the same key, for messages
};

// The settings file of a run.
struct SettingsFile {
  std::string path;
  SettingSource source;  // kOption: --config, kEnvironment: ZRPOLICY_CONFIG, kDefault: the path that is always tried
};

// --config, else ZRPOLICY_CONFIG (an empty one counts as none), else /etc/zrpolicy/zrpolicy.conf. The file need not be
// there.
SettingsFile findSettingsFile(const std::string& configFile);

// Whether the file is to be read: false for the default path where nothing is. Throws HostError kInputOutput for any
// other file that is missing, a folder or not readable.
bool settingsFileIsThere(const SettingsFile& file);

struct EffectiveSetting {
  const SettingDefinition* definition;
  std::string value;  // empty when it has none
  bool isSet;         // false: the default, if there is one, is in `value`
  SettingSource source;
  std::string origin;  // the file's path or the option's name; empty for a default
};

// The settings that hold for one run: an option wins over the file, the file over the default. file and dsn are one
// choice: where an option gives one of them, the other one in the file does not count. An empty text in the file
// counts as not set.
//
// Failures: HostError with one line that names file or option, section, name and value. Values are shown for numbers
// only, so no password that strayed into the file ever is. Threads: an object is read by any number at once.
class Settings {
 public:
  // Reads the file, if there is one. Throws
  //   kUsage        a value that is no number of its range; file and dsn both set
  //   kInputOutput  a file that cannot be read, see settingsFileIsThere
  explicit Settings(const SettingsRequest& request);

  // In the order of settingDefinitions().
  const std::vector<EffectiveSetting>& all() const { return m_settings; }
  // The setting must be a known one.
  const EffectiveSetting& get(std::string_view section, std::string_view name) const;
  const std::string& text(std::string_view section, std::string_view name) const { return get(section, name).value; }
  // Of a setting that is a number.
  int number(std::string_view section, std::string_view name) const;

  // The file that was read; an empty path when there was none.
  const SettingsFile& file() const { return m_file; }
  // What the file holds that is not known, one line each, with the file's path.
  const std::vector<std::string>& warnings() const { return m_warnings; }

 private:
  using Sections = std::map<std::string, std::map<std::string, std::string>>;
  void warnOfUnknown(const Sections& sections);
  EffectiveSetting effective(const SettingDefinition& definition, const SettingsRequest& request,
                             const Sections& sections) const;
  void chooseDatabase();

  SettingsFile m_file;
  std::vector<EffectiveSetting> m_settings;
  std::vector<std::string> m_warnings;
};

}  // namespace zrhost
