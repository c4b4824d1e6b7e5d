#include "host/settings/settings_edit.h"

#include <algorithm>
#include <cctype>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/settings/SettingDefinition.h"
#include "host/settings/Settings.h"

namespace zrhost {

namespace {

// A password has no setting of its own, but one in the file by mistake is still a password.
bool mayHoldPassword(std::string name) {
  std::ranges::transform(name, name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::ranges::any_of(std::initializer_list<const char*>{"pass", "pwd", "secret"},
                             [&name](const char* part) { return name.find(part) != std::string::npos; });
}

// The file as every command would meet it.
std::vector<std::string> warningsOf(const std::string& path) {
  try {
    return Settings({path, {}}).warnings();
  } catch (const HostError& error) {
    return {error.what()};
  }
}

}  // namespace

std::string settingTitle(const std::string& section, const std::string& name) {
  return "[" + shortened(section) + "] " + shortened(name);
}

std::optional<std::string> settingInFile(const SettingsFile& file, const std::string& section,
                                         const std::string& name) {
  if (findSetting(section, name) == nullptr && mayHoldPassword(name)) {
    throw HostError(ErrorKind::kUsage, settingTitle(section, name) + " may hold a password, which is never shown");
  }
  ConfigSections sections = readSettingsFile(file).value_or(ConfigSections());
  const ConfigSections::mapped_type& settings = sections[section];
  const auto found = settings.find(name);
  return found == settings.end() ? std::nullopt : std::optional(found->second);
}

SettingChange setInFile(const SettingsFile& file, const std::string& section, const std::string& name,
                        const std::string& value) {
  Options judged;
  const SettingDefinition* definition = findSetting(section, name);
  const auto fault = definition == nullptr ? std::nullopt : definition->store(value, judged);
  if (fault) throw HostError(ErrorKind::kUsage, *fault);
  const ConfigEditResult edit = setInConfigFile(file.path, section, name, value);
  return {edit, warningsOf(file.path)};
}

ConfigEditResult unsetInFile(const SettingsFile& file, const std::string& section, const std::string& name) {
  return unsetInConfigFile(requiredSettingsFile(file), section, name);
}

}  // namespace zrhost
