#include "cli/config_show.h"

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/format/TextTable.h"

namespace zrcli {

namespace {

using zrhost::SettingSource;

std::string sourceOf(const zrhost::EffectiveSetting& setting) {
  switch (setting.source) {
    case SettingSource::kOption:
      return std::string("option ") + setting.definition->option.name;
    case SettingSource::kEnvironment:
      return std::string("environment ") + setting.definition->insteadVariable;
    case SettingSource::kFile:
      return "file";
    case SettingSource::kDefault:
      break;
  }
  return "default";
}

std::string fileLine(const zrhost::SettingsFile& file) {
  if (file.path.empty()) return "settings file: none\n";
  const char* from = file.source == SettingSource::kOption        ? " (option --config)"
                     : file.source == SettingSource::kEnvironment ? " (environment ZRPOLICY_CONFIG)"
                                                                  : "";
  return "settings file: " + zrhost::terminalText(file.path) + from + '\n';
}

std::string shownValue(const zrhost::EffectiveSetting& setting) {
  if (setting.source == SettingSource::kEnvironment) return "(hidden)";
  return setting.value.empty() ? "(not set)" : setting.value;
}

}  // namespace

std::string settingsTable(const zrhost::Settings& settings, std::string_view section) {
  const bool sectionIsKnown = section.empty() || zrhost::isKnownSection(section);
  if (!sectionIsKnown) throw zrhost::HostError(zrhost::ErrorKind::kUsage, *zrhost::unknownSettingFault(section, ""));
  zrhost::TextTable table({{"SECTION"}, {"NAME"}, {"FROM"}, {"VALUE"}});
  for (const zrhost::EffectiveSetting& setting : settings.all()) {
    if (!section.empty() && section != setting.definition->section) continue;
    table.add({setting.definition->section, setting.definition->name, sourceOf(setting), shownValue(setting)});
  }
  return fileLine(settings.file()) + table.text();
}

}  // namespace zrcli
