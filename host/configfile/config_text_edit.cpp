#include "host/configfile/config_text_edit.h"

#include <algorithm>
#include <vector>

#include "host/base/HostError.h"
#include "host/configfile/config_lines.h"

namespace zrhost {

namespace {

using Lines = std::vector<ConfigLine>;

bool isName(std::string_view name) {
  return !name.empty() && std::ranges::all_of(name, isNameCharacter);
}

bool isBlank(char character) {
  return character == ' ' || character == '\t';
}

// The value as a file has it: each line feed becomes a continuation.
std::string encoded(std::string_view value, std::string_view lineEnd) {
  std::string text;
  for (const char character : value) {
    if (character == '\n') {
      text += '\\';
      text += lineEnd;
    } else {
      text += character;
    }
  }
  return text;
}

std::string_view lineEndOf(std::string_view text, const ConfigLine& line) {
  const std::string_view whole = text.substr(line.begin, line.end - line.begin);
  return whole.ends_with("\r\n") ? "\r\n" : whole.ends_with('\n') ? "\n" : "";
}

// The line end that a new line behind `line` gets: that of its neighbours.
std::string_view styleAt(std::string_view text, const Lines& lines, std::size_t line) {
  for (std::size_t i = line + 1; i-- > 0;) {
    const std::string_view end = lineEndOf(text, lines[i]);
    if (!end.empty()) return end;
  }
  return "\n";
}

std::vector<ConfigEntry> entriesOf(const Lines& lines, std::string_view section, std::string_view name) {
  std::vector<ConfigEntry> entries;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool isIt = lines[i].kind == LineKind::kSetting && lines[i].section == section && lines[i].name == name;
    if (isIt) entries.push_back(entryAt(lines, i));
  }
  return entries;
}

// The empty line that ends a continued value is layout: it stays when the value goes.
std::size_t lastOwnLine(const Lines& lines, const ConfigEntry& entry) {
  const ConfigLine& last = lines[entry.last];
  return entry.last > entry.first && last.begin == last.textEnd ? entry.last - 1 : entry.last;
}

void requireWholeLines(const Lines& lines, std::size_t first, std::size_t last) {
  for (std::size_t i = first; i <= last; ++i) {
    if (lines[i].startsLine && lines[i].endsLine) continue;
    throw HostError(ErrorKind::kUsage, "line " + std::to_string(lines[i].number) +
                                           " is longer than 1023 bytes and cannot be edited; shorten it by hand first");
  }
}

// Whether a comment shows the setting, as "#name = 1" or "# name=".
bool showsSetting(std::string_view comment, std::string_view name) {
  const std::size_t begin = comment.find_first_not_of("# \t");
  if (begin == std::string_view::npos || !comment.substr(begin).starts_with(name)) return false;
  comment.remove_prefix(begin + name.size());
  const auto sign = std::ranges::find_if_not(comment, isBlank);
  return sign != comment.end() && *sign == '=';
}

// The line behind which a new setting of the section goes, or nothing when the text has no such section.
std::optional<std::size_t> placeInSection(std::string_view text, const Lines& lines, std::string_view section,
                                          std::string_view name) {
  std::optional<std::size_t> place;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const ConfigLine& line = lines[i];
    if (line.section != section) continue;
    if (line.kind == LineKind::kComment && showsSetting(text.substr(line.begin, line.textEnd - line.begin), name)) {
      return i;
    }
    if (line.kind == LineKind::kHeader || line.kind == LineKind::kSetting || line.kind == LineKind::kContinuation) {
      place = i;
    }
  }
  return place;
}

// What must stand before a line that is added behind lines[i]: the line end that is missing, and an empty line where a
// backslash would swallow the new line.
std::string closing(std::string_view text, const Lines& lines, std::size_t i, std::string_view lineEnd) {
  std::string close;
  if (lineEndOf(text, lines[i]).empty()) close += lineEnd;
  if (lines[i].continues) close += lineEnd;
  return close;
}

std::string addedBehind(std::string_view text, const Lines& lines, std::size_t i, const std::string& setting,
                        std::string_view lineEnd) {
  while (!lines[i].endsLine)
    ++i;
  std::string result(text.substr(0, lines[i].end));
  result += closing(text, lines, i, lineEnd) + setting;
  result += text.substr(lines[i].end);
  return result;
}

std::string addedSection(std::string_view text, const Lines& lines, std::string_view section,
                         const std::string& setting, std::string_view lineEnd) {
  std::string result(text);
  if (!lines.empty()) {
    result += closing(text, lines, lines.size() - 1, lineEnd);
    result += lineEnd;
  }
  result.append("[").append(section).append("]").append(lineEnd);
  return result + setting;
}

std::string added(std::string_view text, const Lines& lines, std::string_view section, std::string_view name,
                  std::string_view value) {
  const auto place = placeInSection(text, lines, section, name);
  const std::size_t neighbour = place.value_or(lines.empty() ? 0 : lines.size() - 1);
  const std::string_view lineEnd = lines.empty() ? "\n" : styleAt(text, lines, neighbour);
  std::string setting(name);
  setting.append(" = ").append(encoded(value, lineEnd)).append(lineEnd);
  // The empty line that ends it is the setting's own here.
  return place ? addedBehind(text, lines, *place, setting, lineEnd)
               : addedSection(text, lines, section, setting, lineEnd);
}

std::string replaced(std::string_view text, const Lines& lines, const ConfigEntry& entry, std::string_view value) {
  // A value that ends in a line feed needs the empty line of the old one.
  const std::size_t last = value.ends_with('\n') ? entry.last : lastOwnLine(lines, entry);
  requireWholeLines(lines, entry.first, last);
  std::string result(text.substr(0, lines[entry.first].valueBegin));
  result += encoded(value, styleAt(text, lines, last));
  result += text.substr(lines[last].textEnd);
  return result;
}

// Asked of the finished text, since the layout that is kept counts too.
void requireShortLines(std::string_view text, std::string_view section, std::string_view name) {
  const Lines lines = splitConfig(text);
  const std::vector<ConfigEntry> entries = entriesOf(lines, section, name);
  bool fits = !entries.empty();  // it is not found under the name of an overlong header
  for (std::size_t i = fits ? entries.back().first : 0; fits && i <= entries.back().last; ++i) {
    fits = lines[i].startsLine && lines[i].endsLine;
  }
  if (!fits) throw HostError(ErrorKind::kUsage, "the line would be longer than 1023 bytes");
}

}  // namespace

std::optional<std::string> settingTextFault(std::string_view section, std::string_view name, std::string_view value) {
  constexpr std::string_view kNames = " may hold letters, digits, _, . and - only, and at least one of them";
  if (!isName(section)) return std::string("a section's name").append(kNames);
  if (!isName(name)) return std::string("a setting's name").append(kNames);
  if (value.find('\0') != std::string_view::npos) return "a value cannot hold a zero byte";
  if (!value.empty() && isBlank(value.front())) return "a value cannot begin with a blank";
  if (value.ends_with('\\')) return "a value cannot end in a backslash";
  if (value.ends_with('\r')) return "a value cannot end in a carriage return";
  return std::nullopt;
}

std::string withSetting(std::string_view text, std::string_view section, std::string_view name,
                        std::string_view value) {
  const Lines lines = splitConfig(text);
  const std::vector<ConfigEntry> entries = entriesOf(lines, section, name);
  std::string result =
      entries.empty() ? added(text, lines, section, name, value) : replaced(text, lines, entries.back(), value);
  requireShortLines(result, section, name);
  return result;
}

std::string withoutSetting(std::string_view text, std::string_view section, std::string_view name) {
  const Lines lines = splitConfig(text);
  std::string result;
  std::size_t kept = 0;
  for (const ConfigEntry& entry : entriesOf(lines, section, name)) {
    const std::size_t last = lastOwnLine(lines, entry);
    requireWholeLines(lines, entry.first, last);
    result += text.substr(kept, lines[entry.first].begin - kept);
    kept = lines[last].end;
  }
  result += text.substr(kept);
  return result;
}

}  // namespace zrhost
