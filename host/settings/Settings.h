#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/settings/Options.h"
#include "host/settings/SettingDefinition.h"
#include "host/settings/SettingsFile.h"

namespace zrhost {

// What the command line says of the settings of one run.
struct SettingsRequest {
  std::string configFile;                                 // the file of --config; empty when that was not given
  std::map<const SettingDefinition*, std::string> given;  // the settings that options give, as they were typed
};

struct EffectiveSetting {
  const SettingDefinition* definition;
  std::string value;  // as it was written; empty when it has none
  SettingSource source;
};

// The settings that hold for one run: an option wins over the environment, that over the file, the file over the
// default. Settings that are a choice (file and dsn) are taken from one source: where an option gives one of them, the
// other one in the file does not count. An empty text in the file counts as not set.
//
// Failures: HostError with one line that names file or option, section, name and value. Values are shown for numbers
// only, so no password that strayed into the file ever is. Threads: an object is read by any number at once.
class Settings {
 public:
  // Reads the file, if there is one. Throws
  //   kUsage        a value that is no number of its range; file and dsn both set
  //   kInputOutput  a file that cannot be read, see readSettingsFile
  explicit Settings(const SettingsRequest& request);

  // Typed. The password is not among them: it is read when it is asked for.
  const Options& options() const { return m_options; }

  // The database that they name, with its password: for a data source that of --password-file, else the one that
  // ZRPOLICY_PASSWORD holds, else that of the file's password_file, else none. Throws kUsage when no database is named,
  // and for a password file as readPasswordFile does.
  DatabaseOptions database() const;

  // In the order of settingDefinitions().
  const std::vector<EffectiveSetting>& all() const { return m_settings; }
  // The file that was read; an empty path when there was none.
  const SettingsFile& file() const { return m_file; }
  // What the file holds that is not known, one line each, with the file's path. For the program to show.
  const std::vector<std::string>& warnings() const { return m_warnings; }

 private:
  void warnOfUnknown(const ConfigSections& sections);
  void choose();
  void storeOptions();
  std::string originOf(const EffectiveSetting& setting) const;

  SettingsFile m_file;
  std::vector<EffectiveSetting> m_settings;
  std::vector<std::string> m_warnings;
  Options m_options;
};

}  // namespace zrhost
