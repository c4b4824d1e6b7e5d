#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zrhost {

// Where everything stands in the text of a configuration file (docs/config-format.md): what ConfigFile makes of it,
// with the places that ConfigFile forgets. For checking and editing; the settings themselves are ConfigFile's to read.

enum class LineKind { kEmpty, kComment, kHeader, kSetting, kContinuation, kDropped };

// A line, or one piece of a line that is too long. Positions are bytes of the whole text.
struct ConfigLine {
  LineKind kind;
  std::size_t number;          // of the physical line, from 1
  std::size_t begin, end;      // with its line end
  std::size_t textEnd;         // without its line end, and without what follows a zero byte
  bool startsLine;             // false for a further piece of a long line
  bool endsLine;               // it has a line feed, or the text ends here
  std::string_view section;    // the current one: of a header, the one that it opens
  std::string_view name;       // of a setting
  std::size_t valueBegin = 0;  // of a setting
  bool continues = false;      // a setting or continuation whose value goes on in the next line
  const char* fault = "";      // why a line is dropped, or what of a header is
};

// Views point into `text`.
std::vector<ConfigLine> splitConfig(std::string_view text);

// One setting with all the lines of its value: [first, last] of the lines.
struct ConfigEntry {
  std::size_t first, last;
};

// The entry that begins at lines[first], a setting.
ConfigEntry entryAt(const std::vector<ConfigLine>& lines, std::size_t first);

// What a name may be made of; as ConfigFile asks it, of the process's locale.
bool isNameCharacter(char character);

// The whole file. Throws HostError kInputOutput.
std::string readConfigText(const std::string& path);

constexpr std::size_t kLongestLine = 1023;  // bytes, line end included

}  // namespace zrhost
