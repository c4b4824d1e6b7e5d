#include "host/settings/Settings.h"

#include <cstdlib>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/settings/password_file.h"

namespace zrhost {

namespace {

// The value in the file, if it is set there.
const std::string* inFile(const SettingDefinition& definition, const ConfigSections& sections) {
  const auto section = sections.find(definition.section);
  if (section == sections.end()) return nullptr;
  const auto value = section->second.find(definition.name);
  return value != section->second.end() && definition.isSetBy(value->second) ? &value->second : nullptr;
}

EffectiveSetting effective(const SettingDefinition& definition, const SettingsRequest& request,
                           const ConfigSections& sections) {
  if (const auto option = request.given.find(&definition); option != request.given.end()) {
    return {&definition, option->second, SettingSource::kOption};
  }
  if (definition.insteadVariable != nullptr && std::getenv(definition.insteadVariable) != nullptr) {
    return {&definition, "", SettingSource::kEnvironment};
  }
  if (const std::string* value = inFile(definition, sections)) return {&definition, *value, SettingSource::kFile};
  return {&definition, definition.defaultText(), SettingSource::kDefault};
}

}  // namespace

Settings::Settings(const SettingsRequest& request) : m_file(findSettingsFile(request.configFile)) {
  const auto found = readSettingsFile(m_file);
  if (!found) m_file.path.clear();
  const ConfigSections& sections = found ? *found : ConfigSections();
  warnOfUnknown(sections);
  for (const SettingDefinition& definition : settingDefinitions())
    m_settings.push_back(effective(definition, request, sections));
  choose();
  storeOptions();
}

void Settings::warnOfUnknown(const ConfigSections& sections) {
  const std::string path = terminalText(m_file.path) + ": ";
  for (const auto& [section, settings] : sections) {
    for (const auto& entry : settings) {
      const auto fault = unknownSettingFault(section, entry.first);
      if (fault) m_warnings.push_back(path + *fault);
      if (!isKnownSection(section)) break;  // its names would only repeat that
    }
  }
}

std::string Settings::originOf(const EffectiveSetting& setting) const {
  return setting.source == SettingSource::kOption ? setting.definition->option.name : terminalText(m_file.path);
}

// Of two settings that exclude one another an option puts that of the file aside; one source may not give both.
void Settings::choose() {
  for (EffectiveSetting& setting : m_settings) {
    const SettingDefinition* rival = setting.definition->rival();
    if (rival == nullptr || setting.source == SettingSource::kDefault) continue;
    EffectiveSetting& other = m_settings.at(static_cast<std::size_t>(rival - settingDefinitions().data()));
    if (other.source == setting.source) {
      const bool inFile = setting.source == SettingSource::kFile;
      throw HostError(ErrorKind::kUsage,
                      inFile ? originOf(setting) + ": " + bothSetFault(setting.definition->title(), rival->name)
                             : bothSetFault(originOf(setting), originOf(other)));
    }
    if (setting.source == SettingSource::kOption) other = {rival, "", SettingSource::kDefault};
  }
}

void Settings::storeOptions() {
  for (const EffectiveSetting& setting : m_settings) {
    const auto fault = setting.definition->store(setting.value, m_options);
    if (fault) throw HostError(ErrorKind::kUsage, originOf(setting) + ": " + *fault);
  }
}

DatabaseOptions Settings::database() const {
  DatabaseOptions database = m_options.database;
  requireOneDatabase(database);
  if (!database.dsn.empty()) database.password = passwordFrom(m_options.database.passwordFile);
  return database;
}

}  // namespace zrhost
