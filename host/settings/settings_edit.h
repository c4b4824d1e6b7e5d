#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/configfile/ConfigEdit.h"
#include "host/settings/SettingsFile.h"

namespace zrhost {

// The settings file as `zrpolicy config` reads and changes it. Sections and names may be any, also such as no program
// here knows; what is known must have a value that it can have. All throw HostError as ConfigEdit and readSettingsFile
// do, and kUsage for what they refuse.

// The value of one setting as the file has it; nothing when the file does not set it. Refuses an unknown setting that
// may be a password, by its name.
std::optional<std::string> settingInFile(const SettingsFile& file, const std::string& section, const std::string& name);

struct SettingChange {
  ConfigEditResult edit;
  std::vector<std::string> warnings;  // what is wrong with the file afterwards, one line each, for the program to show
};

// Makes the file when it is missing (not its folder). Refuses a value that a known setting cannot have.
SettingChange setInFile(const SettingsFile& file, const std::string& section, const std::string& name,
                        const std::string& value);

// Removes the setting wherever the file sets it.
ConfigEditResult unsetInFile(const SettingsFile& file, const std::string& section, const std::string& name);

// "[section] name", shortened and made safe for messages.
std::string settingTitle(const std::string& section, const std::string& name);

}  // namespace zrhost
