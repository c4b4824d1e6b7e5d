#include "host/settings/SettingDefinition.h"

#include <algorithm>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/settings/nearest_word.h"
#include "host/settings/password_file.h"

namespace zrhost {

namespace {

// The kinds with the member of Options that they fill: a member of another type does not compile.
template <auto section, auto member>
constexpr TextKind text() {
  return {[](Options& options) -> std::string& { return options.*section.*member; }};
}

template <auto section, auto member>
constexpr NumberKind number(int minimum, int maximum) {
  return {[](Options& options) -> int& { return options.*section.*member; }, minimum, maximum};
}

constexpr char kSource[] = "Data source";
constexpr char kConnection[] = "Connection";
constexpr char kGeneral[] = "General";

constexpr auto kDatabase = &Options::database;

constexpr SettingDefinition kDefinitions[] = {
    {"database",
     "file",
     text<kDatabase, &DatabaseSection::file>(),
     "The SQLite file with the policy database. Not together with dsn.",
     {"--database", "FILE", kSource},
     "dsn"},
    {"database",
     "dsn",
     text<kDatabase, &DatabaseSection::dsn>(),
     "The ODBC data source of the policy database. Not together with file.",
     {"--dsn", "NAME", kSource},
     "file"},
    {"database",
     "user",
     text<kDatabase, &DatabaseSection::user>(),
     "The user that connects to the data source.",
     {"--db-user", "USER", kSource}},
    {"database",
     "password_file",
     text<kDatabase, &DatabaseSection::passwordFile>(),
     "A file with the user's password, which others may not read.",
     {"--password-file", "FILE", kSource},
     nullptr,
     kPasswordVariable},
    {"database",
     "pool_size",
     number<kDatabase, &DatabaseSection::poolSize>(1, 1024),
     "How many connections are kept open.",
     {"--pool-size", "NUMBER", kConnection}},
    {"database",
     "connect_timeout",
     number<kDatabase, &DatabaseSection::connectTimeout>(1, 3600),
     "Seconds that one attempt to connect may take.",
     {"--connect-timeout", "SECONDS", kConnection}},
    {"database",
     "retry_wait",
     number<kDatabase, &DatabaseSection::retryWait>(0, 3600),
     "Seconds to wait after an attempt that failed.",
     {"--retry-wait", "SECONDS", kConnection}},
    {"database",
     "retries",
     number<kDatabase, &DatabaseSection::retries>(1, 1000),
     "How many attempts to connect are made.",
     {"--retries", "NUMBER", kConnection}},
    {"sql",
     "directory",
     text<kDatabase, &DatabaseSection::sqlDirectory>(),
     "The folder of the SQL statements, if not the one installed with the program.",
     {"--sql-dir", "FOLDER", kGeneral}},
    {"log",
     "level",
     number<&Options::log, &LogSection::level>(0, 4),
     "What is logged: 0 nothing, 1 errors, 2 warnings, 3 what is done, 4 every step.",
     {"--log-level", "LEVEL", kGeneral}},
};

}  // namespace

std::optional<std::string> TextKind::store(std::string_view text, Options& options) const {
  member(options) = text;
  return std::nullopt;
}

std::optional<std::string> NumberKind::store(std::string_view text, Options& options) const {
  const auto number = strictNumber(text, minimum, maximum);
  if (!number) return "not a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum);
  member(options) = static_cast<int>(*number);
  return std::nullopt;
}

std::string NumberKind::limits() const {
  return "From " + std::to_string(minimum) + " to " + std::to_string(maximum);
}

const SettingDefinition* SettingDefinition::rival() const {
  return notWith == nullptr ? nullptr : findSetting(section, notWith);
}

std::string SettingDefinition::defaultText() const {
  Options untouched;
  return std::visit([&untouched](const auto& each) { return each.shown(untouched); }, kind);
}

std::string SettingDefinition::limits() const {
  return std::visit([](const auto& each) { return each.limits(); }, kind);
}

bool SettingDefinition::isSetBy(std::string_view text) const {
  return !text.empty() || std::visit([](const auto& each) { return each.kEmptyCounts; }, kind);
}

std::optional<std::string> SettingDefinition::store(std::string_view text, Options& options) const {
  const auto fault = std::visit([&](const auto& each) { return each.store(text, options); }, kind);
  if (!fault) return std::nullopt;
  return title() + " = \"" + shortened(text) + "\": " + *fault;
}

std::span<const SettingDefinition> settingDefinitions() {
  return kDefinitions;
}

const SettingDefinition* findSetting(std::string_view section, std::string_view name) {
  const auto found = std::ranges::find_if(kDefinitions, [&](const SettingDefinition& setting) {
    return section == setting.section && name == setting.name;
  });
  return found == std::end(kDefinitions) ? nullptr : found;
}

bool isKnownSection(std::string_view section) {
  return std::ranges::any_of(kDefinitions,
                             [&](const SettingDefinition& setting) { return section == setting.section; });
}

std::optional<std::string> unknownSettingFault(std::string_view section, std::string_view name) {
  if (findSetting(section, name) != nullptr) return std::nullopt;
  std::vector<std::string_view> sections, names;
  for (const SettingDefinition& setting : kDefinitions) {
    sections.emplace_back(setting.section);
    if (section == setting.section) names.emplace_back(setting.name);
  }
  if (names.empty()) {
    return "unknown section [" + shortened(section) + "], did you mean [" + nearestWord(section, sections) + "]?";
  }
  return "unknown setting \"" + shortened(name) + "\" in [" + std::string(section) + "], did you mean \"" +
         nearestWord(name, names) + "\"?";
}

std::string bothSetFault(const std::string& one, const std::string& other) {
  return one + " and " + other + " are both set; give one of them";
}

}  // namespace zrhost
