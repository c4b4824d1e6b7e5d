#pragma once

#include <optional>
#include <string>

#include "host/configfile/config_sections.h"

namespace zrhost {

// Where a setting, or the name of the settings file, comes from.
enum class SettingSource { kDefault, kFile, kEnvironment, kOption };

// The settings file of a run.
struct SettingsFile {
  std::string path;
  SettingSource source;  // kOption: --config, kEnvironment: ZRPOLICY_CONFIG, kDefault: the path that is always tried
};

// --config, else ZRPOLICY_CONFIG (an empty one counts as none), else /etc/zrpolicy/zrpolicy.conf. The file need not be
// there.
SettingsFile findSettingsFile(const std::string& configFile);

// What the file means; nothing for the default path where nothing is. Throws HostError kInputOutput, which says who
// named the file, for any other file that is missing, a folder or not readable.
std::optional<ConfigSections> readSettingsFile(const SettingsFile& file);

// The path of a file that must be there. Throws kInputOutput when it is the default one and nothing is; of others the
// reader says so.
std::string requiredSettingsFile(const SettingsFile& file);

}  // namespace zrhost
