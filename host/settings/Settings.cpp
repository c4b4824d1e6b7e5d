#include "host/settings/Settings.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "config/ConfigFile.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr char kDefaultFile[] = "/etc/zrpolicy/zrpolicy.conf";
constexpr char kFileVariable[] = "ZRPOLICY_CONFIG";

[[noreturn]] void failToRead(const SettingsFile& file, const std::string& why) {
  const char* from = file.source == SettingSource::kOption        ? " (from --config)"
                     : file.source == SettingSource::kEnvironment ? " (from ZRPOLICY_CONFIG)"
                                                                  : "";
  throw HostError(ErrorKind::kInputOutput,
                  "cannot read the settings file " + terminalText(file.path) + from + ": " + why);
}

// ConfigFile takes a file that opens and cannot be read for an empty one. What is no plain file is left to it: a first
// byte read from a pipe would be lost.
int readingFault(const std::string& path, const struct stat& status) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return errno;
  char first = 0;
  const int fault = S_ISREG(status.st_mode) && read(fd, &first, 1) < 0 ? errno : 0;
  close(fd);
  return fault;
}

}  // namespace

SettingsFile findSettingsFile(const std::string& configFile) {
  if (!configFile.empty()) return {configFile, SettingSource::kOption};
  const char* variable = std::getenv(kFileVariable);
  if (variable != nullptr && *variable != '\0') return {variable, SettingSource::kEnvironment};
  return {kDefaultFile, SettingSource::kDefault};
}

bool settingsFileIsThere(const SettingsFile& file) {
  struct stat status = {};
  if (stat(file.path.c_str(), &status) != 0) {
    const bool isMissing = errno == ENOENT || errno == ENOTDIR;
    if (file.source == SettingSource::kDefault && isMissing) return false;
    failToRead(file, std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) failToRead(file, "it is a folder");
  if (S_ISFIFO(status.st_mode)) return true;
  const int fault = readingFault(file.path, status);
  if (fault != 0) failToRead(file, std::strerror(fault));
  return true;
}

Settings::Settings(const SettingsRequest& request) : m_file(findSettingsFile(request.configFile)) {
  ConfigFile config;
  if (!settingsFileIsThere(m_file)) {
    m_file.path.clear();
  } else if (config.read_config(m_file.path.c_str()) != 0) {
    failToRead(m_file, std::strerror(errno));
  }
  warnOfUnknown(config.m_pImpl->m_sections);
  for (const SettingDefinition& definition : settingDefinitions()) {
    m_settings.push_back(effective(definition, request, config.m_pImpl->m_sections));
  }
  chooseDatabase();
}

void Settings::warnOfUnknown(const Sections& sections) {
  const std::string path = terminalText(m_file.path) + ": ";
  for (const auto& [section, settings] : sections) {
    for (const auto& entry : settings) {
      const auto fault = unknownSettingFault(section, entry.first);
      if (fault) m_warnings.push_back(path + *fault);
      if (!isKnownSection(section)) break;  // its names would only repeat that
    }
  }
}

EffectiveSetting Settings::effective(const SettingDefinition& definition, const SettingsRequest& request,
                                     const Sections& sections) const {
  EffectiveSetting setting{&definition, definition.defaultValue == nullptr ? "" : definition.defaultValue, false,
                           SettingSource::kDefault, ""};
  const std::string key = definition.key();
  const auto section = sections.find(definition.section);
  if (const auto option = request.given.find(key); option != request.given.end()) {
    const auto name = request.optionNames.find(key);
    setting = {&definition, option->second, true, SettingSource::kOption,
               name == request.optionNames.end() ? key : name->second};
  } else if (section != sections.end()) {
    const auto value = section->second.find(definition.name);
    const bool holds =
        value != section->second.end() && (definition.kind == SettingKind::kNumber || !value->second.empty());
    if (holds) setting = {&definition, value->second, true, SettingSource::kFile, m_file.path};
  }
  if (const auto fault = settingValueFault(definition, setting.value)) {
    throw HostError(ErrorKind::kUsage, terminalText(setting.origin) + ": " + *fault);
  }
  return setting;
}

void Settings::chooseDatabase() {
  const auto find = [this](const char* name) {
    return std::ranges::find_if(m_settings,
                                [name](const auto& each) { return each.definition->name == std::string_view(name); });
  };
  EffectiveSetting& file = *find("file");
  EffectiveSetting& dsn = *find("dsn");
  if (!file.isSet || !dsn.isSet) return;
  if (file.source == dsn.source) {
    throw HostError(ErrorKind::kUsage,
                    (file.source == SettingSource::kFile ? terminalText(file.origin) + ": [database] file and dsn are"
                                                         : file.origin + " and " + dsn.origin + " are") +
                        " both set; give one of them");
  }
  EffectiveSetting& loser = file.source == SettingSource::kOption ? dsn : file;
  loser = {loser.definition, "", false, SettingSource::kDefault, ""};
}

const EffectiveSetting& Settings::get(std::string_view section, std::string_view name) const {
  return m_settings.at(static_cast<std::size_t>(findSetting(section, name) - settingDefinitions().data()));
}

int Settings::number(std::string_view section, std::string_view name) const {
  const EffectiveSetting& setting = get(section, name);
  return settingNumber(*setting.definition, setting.value).value();
}

}  // namespace zrhost
