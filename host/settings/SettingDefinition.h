#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "host/settings/Options.h"

namespace zrhost {

// The kinds of settings. A kind says which texts are values of it and puts the typed value into its member of Options.
// Another kind is one more struct of these functions, and one more alternative of SettingKind.

// Any text. An empty one counts as not set.
struct TextKind {
  static constexpr bool kEmptyCounts = false;
  std::string& (*member)(Options&);

  // Stores the value, or returns what the text is not: "not a whole number ...".
  std::optional<std::string> store(std::string_view text, Options& options) const;
  // The value that `options` have, as a file would have it.
  std::string shown(Options& options) const { return member(options); }
  // For help: "From 1 to 1024"; empty where there is nothing to be told.
  std::string limits() const { return {}; }
};

// A whole number, both limits included: an optional minus and decimal digits.
struct NumberKind {
  static constexpr bool kEmptyCounts = true;
  int& (*member)(Options&);
  int minimum, maximum;

  std::optional<std::string> store(std::string_view text, Options& options) const;
  std::string shown(Options& options) const { return std::to_string(member(options)); }
  std::string limits() const;
};

// "yes" or "no".
struct SwitchKind {
  static constexpr bool kEmptyCounts = true;
  bool& (*member)(Options&);

  std::optional<std::string> store(std::string_view text, Options& options) const;
  std::string shown(Options& options) const { return member(options) ? "yes" : "no"; }
  std::string limits() const { return "yes or no"; }
};

// Words, parted by blanks or commas. An empty text is an empty list.
struct ListKind {
  static constexpr bool kEmptyCounts = true;
  TextList& (*member)(Options&);

  std::optional<std::string> store(std::string_view text, Options& options) const;
  std::string shown(Options& options) const;
  std::string limits() const { return {}; }
};

// One of a few words.
struct WordKind {
  static constexpr bool kEmptyCounts = true;
  std::string& (*member)(Options&);
  std::array<const char*, 2> words;

  std::optional<std::string> store(std::string_view text, Options& options) const;
  std::string shown(Options& options) const { return member(options); }
  std::string limits() const { return std::string(words[0]) + " or " + words[1]; }
};

// A text that may be empty, which then means what its help says.
struct AnyTextKind {
  static constexpr bool kEmptyCounts = true;
  std::string& (*member)(Options&);

  std::optional<std::string> store(std::string_view text, Options& options) const;
  std::string shown(Options& options) const { return member(options); }
  std::string limits() const { return {}; }
};

using SettingKind = std::variant<TextKind, NumberKind, SwitchKind, ListKind, WordKind, AnyTextKind>;

// How a command line gives a setting; no name: it cannot.
struct SettingOption {
  const char* name = nullptr;  // with its dashes
  const char* valueName = "";  // as help shows it
  const char* group = "";      // the heading that help puts it under
};

// The one definition of a setting. What is read, shown, checked and offered as an option comes from here, and a test
// holds the sample file and the manual page against it.
struct SettingDefinition {
  const char* section;
  const char* name;
  SettingKind kind;
  const char* help;  // one sentence
  SettingOption option;
  const char* notWith = nullptr;          // the setting of the same section that may not be set beside it
  const char* insteadVariable = nullptr;  // the environment variable that counts instead, unless an option gives it

  // "[section] name", for messages.
  std::string title() const { return "[" + std::string(section) + "] " + name; }
  // The setting that may not be set beside it; null when there is none.
  const SettingDefinition* rival() const;
  // Empty when there is none.
  std::string defaultText() const;
  std::string limits() const;
  // Whether a file that has this text for a value sets it.
  bool isSetBy(std::string_view text) const;
  // What is wrong with a value, as in
  //   [database] pool_size = "many": not a whole number from 1 to 1024
  // Nothing when the setting can have it, and then `options` have it.
  std::optional<std::string> store(std::string_view text, Options& options) const;
};

// Every setting, in the order in which it is shown. A section's settings stand together.
std::span<const SettingDefinition> settingDefinitions();

// Null when no setting has this section and name, which are case-sensitive.
const SettingDefinition* findSetting(std::string_view section, std::string_view name);

bool isKnownSection(std::string_view section);

// What is wrong with a section or name that is not known, with the known one that takes the fewest changed, added or
// dropped characters, whatever their case:
//   unknown section [databse], did you mean [database]?
//   unknown setting "retrys" in [database], did you mean "retries"?
// Nothing when both are known.
std::optional<std::string> unknownSettingFault(std::string_view section, std::string_view name);

// What is wrong where one source sets a setting and its rival: "[database] file and dsn are both set; give one of
// them".
std::string bothSetFault(const std::string& one, const std::string& other);

}  // namespace zrhost
