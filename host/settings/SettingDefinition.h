#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zrhost {

enum class SettingKind { kText, kNumber };

// The one definition of a setting. What is read, shown and checked comes from here, and a test holds the sample file
// and the manual page against it.
struct SettingDefinition {
  const char* section;
  const char* name;
  SettingKind kind;
  int minimum, maximum;      // of a number, both included; 0 for a text
  const char* defaultValue;  // null when there is none
  const char* help;          // one sentence

  // "section.name", the key by which options give a setting.
  std::string key() const { return std::string(section) + '.' + name; }
};

// Every setting, in the order in which it is shown. A section's settings stand together.
std::span<const SettingDefinition> settingDefinitions();

// Null when no setting has this section and name, which are case-sensitive.
const SettingDefinition* findSetting(std::string_view section, std::string_view name);

bool isKnownSection(std::string_view section);

// The known name that takes the fewest changed, added or dropped characters, whatever their case.
std::string_view nearestSection(std::string_view section);
// Among the names of a known section.
std::string_view nearestName(std::string_view section, std::string_view name);

// What is wrong with a section or name that is not known, with the nearest known one:
//   unknown section [databse], did you mean [database]?
//   unknown setting "retrys" in [database], did you mean "retries"?
// Nothing when both are known.
std::optional<std::string> unknownSettingFault(std::string_view section, std::string_view name);

// The number that a whole text stands for, if it is one of the setting's range: an optional minus and decimal digits.
std::optional<int> settingNumber(const SettingDefinition& setting, std::string_view value);

// What is wrong with a value, as in
//   [database] pool_size = "many": not a whole number from 1 to 1024
// Nothing when the setting can have it.
std::optional<std::string> settingValueFault(const SettingDefinition& setting, std::string_view value);

}  // namespace zrhost
