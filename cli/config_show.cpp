#include "cli/config_show.h"

#include <algorithm>
#include <array>
#include <vector>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrcli {

namespace {

using zrhost::SettingSource;
using Row = std::array<std::string, 4>;

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
  return setting.value.empty() ? "(not set)" : zrhost::terminalText(setting.value);
}

void appendRow(std::string& text, const Row& row, const std::array<std::size_t, 4>& widths) {
  for (std::size_t i = 0; i + 1 < row.size(); ++i) {
    text += row[i] + std::string(widths[i] - zrhost::displayWidth(row[i]) + 2, ' ');
  }
  text += row.back() + '\n';
}

std::string table(const std::vector<Row>& rows) {
  std::array<std::size_t, 4> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], zrhost::displayWidth(row[i]));
  }
  std::string text;
  for (const Row& row : rows)
    appendRow(text, row, widths);
  return text;
}

}  // namespace

std::string settingsTable(const zrhost::Settings& settings, std::string_view section) {
  const bool sectionIsKnown = section.empty() || zrhost::isKnownSection(section);
  if (!sectionIsKnown) throw zrhost::HostError(zrhost::ErrorKind::kUsage, *zrhost::unknownSettingFault(section, ""));
  std::vector<Row> rows{{"SECTION", "NAME", "FROM", "VALUE"}};
  for (const zrhost::EffectiveSetting& setting : settings.all()) {
    if (!section.empty() && section != setting.definition->section) continue;
    rows.push_back({setting.definition->section, setting.definition->name, sourceOf(setting), shownValue(setting)});
  }
  return fileLine(settings.file()) + table(rows);
}

}  // namespace zrcli
