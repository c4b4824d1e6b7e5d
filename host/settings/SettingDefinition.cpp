#include "host/settings/SettingDefinition.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <utility>
#include <vector>

#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr SettingDefinition text(const char* section, const char* name, const char* help) {
  return {section, name, SettingKind::kText, 0, 0, nullptr, help};
}

constexpr SettingDefinition number(const char* section, const char* name, int minimum, int maximum,
                                   const char* defaultValue, const char* help) {
  return {section, name, SettingKind::kNumber, minimum, maximum, defaultValue, help};
}

constexpr SettingDefinition kDefinitions[] = {
    text("database", "file", "The SQLite file with the policy database. Not together with dsn."),
    text("database", "dsn", "The ODBC data source of the policy database. Not together with file."),
    text("database", "user", "The user that connects to the data source."),
    text("database", "password_file", "A file with the user's password, which nobody else may read."),
    number("database", "pool_size", 1, 1024, "1", "How many connections are kept open."),
    number("database", "connect_timeout", 1, 3600, "5", "Seconds that one attempt to connect may take."),
    number("database", "retry_wait", 0, 3600, "1", "Seconds to wait between two attempts to connect."),
    number("database", "retries", 1, 1000, "1", "How many attempts to connect are made in all."),
    number("database", "read_timeout", 1, 86400, "60", "Seconds that a server may say nothing while it is read."),
    text("sql", "directory", "The folder of the SQL statements, if not the one installed with the program."),
    number("log", "level", 0, 4, "0", "What is logged: 0 nothing, 1 errors, up to 4 every step."),
};

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The least number of changed, added and dropped characters (Levenshtein), one row of the table at a time.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (lower(from[i]) == lower(to[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

// The nearest of the texts that `choose` takes from the definitions; it skips one by answering null.
template <typename Choose>
std::string_view nearest(std::string_view wanted, Choose choose) {
  std::string_view best;
  std::size_t least = static_cast<std::size_t>(-1);
  for (const SettingDefinition& setting : kDefinitions) {
    const char* candidate = choose(setting);
    if (candidate == nullptr) continue;
    const std::size_t changes = distance(wanted, candidate);
    if (changes >= least) continue;
    least = changes;
    best = candidate;
  }
  return best;
}

}  // namespace

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

std::string_view nearestSection(std::string_view section) {
  return nearest(section, [](const SettingDefinition& setting) { return setting.section; });
}

std::string_view nearestName(std::string_view section, std::string_view name) {
  return nearest(name, [section](const SettingDefinition& setting) {
    return section == setting.section ? setting.name : nullptr;
  });
}

std::optional<std::string> unknownSettingFault(std::string_view section, std::string_view name) {
  if (!isKnownSection(section)) {
    return "unknown section [" + shortened(section) + "], did you mean [" + std::string(nearestSection(section)) + "]?";
  }
  if (findSetting(section, name) != nullptr) return std::nullopt;
  return "unknown setting \"" + shortened(name) + "\" in [" + std::string(section) + "], did you mean \"" +
         std::string(nearestName(section, name)) + "\"?";
}

std::optional<int> settingNumber(const SettingDefinition& setting, std::string_view value) {
  int number = 0;
  const auto [end, fault] = std::from_chars(value.data(), value.data() + value.size(), number);
  const bool whole = fault == std::errc() && end == value.data() + value.size();
  if (!whole || number < setting.minimum || number > setting.maximum) return std::nullopt;
  return number;
}

std::optional<std::string> settingValueFault(const SettingDefinition& setting, std::string_view value) {
  if (setting.kind == SettingKind::kText || settingNumber(setting, value)) return std::nullopt;
  return std::string("[") + setting.section + "] " + setting.name + " = \"" + shortened(value) +
         "\": not a whole number from " + std::to_string(setting.minimum) + " to " + std::to_string(setting.maximum);
}

}  // namespace zrhost
