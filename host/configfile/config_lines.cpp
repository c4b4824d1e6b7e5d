#include "host/configfile/config_lines.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <utility>

#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::size_t skipBlanks(std::string_view text) {
  return std::min(text.find_first_not_of(" \t"), text.size());
}

std::size_t nameLength(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::find_if_not(text, isNameCharacter) - text.begin());
}

class Splitter {
 public:
  explicit Splitter(std::string_view text) : m_text(text) {}

  std::vector<ConfigLine> split() {
    while (m_at < m_text.size())
      next();
    return std::move(m_lines);
  }

 private:
  // Takes one piece: up to a line feed, or as much as one read takes.
  void next() {
    const std::string_view rest = m_text.substr(m_at, kLongestLine);
    const std::size_t feed = rest.find('\n');
    const std::size_t length = feed == std::string_view::npos ? rest.size() : feed + 1;
    ConfigLine line{LineKind::kEmpty, m_number, m_at, m_at + length, 0, m_startsLine, false, m_section, {}};
    line.endsLine = feed != std::string_view::npos || line.end == m_text.size();
    line.textEnd = m_at + textLength(rest.substr(0, length));
    if (m_at == 0 && m_text.starts_with(kByteOrderMark)) m_at = kByteOrderMark.size();
    classify(line, m_text.substr(m_at, line.textEnd - m_at));
    m_lines.push_back(line);
    m_at = line.end;
    m_startsLine = line.endsLine;
    if (line.endsLine) ++m_number;
  }

  static std::size_t textLength(std::string_view piece) {
    piece = piece.substr(0, piece.find('\0'));
    if (piece.ends_with('\n')) piece.remove_suffix(1);
    if (piece.ends_with('\r')) piece.remove_suffix(1);
    return piece.size();
  }

  void classify(ConfigLine& line, std::string_view text) {
    if (!m_lines.empty() && m_lines.back().continues) {
      line.kind = LineKind::kContinuation;
      line.continues = text.ends_with('\\');
      return;
    }
    text.remove_prefix(skipBlanks(text));
    if (text.empty()) return;
    line.kind = LineKind::kDropped;
    if (text.front() == '#') {
      line.kind = LineKind::kComment;
    } else if (text.front() == '[') {
      header(line, text.substr(1));
    } else {
      setting(line, text);
    }
  }

  void header(ConfigLine& line, std::string_view text) {
    const std::string_view name = text.substr(0, nameLength(text));
    line.fault = "no section name right after the [";
    if (name.empty()) return;
    line.fault = "a section header without a ]";
    text.remove_prefix(name.size());
    if (text.find(']') == std::string_view::npos) return;
    line.kind = LineKind::kHeader;
    line.section = m_section = name;
    const bool isPlain = text.front() == ']' && skipBlanks(text.substr(1)) + 1 == text.size();
    line.fault = isPlain ? "" : "only the section's name counts, the rest of the line is dropped";
  }

  void setting(ConfigLine& line, std::string_view text) {
    const std::string_view name = text.substr(0, nameLength(text));
    text.remove_prefix(name.size());
    text.remove_prefix(skipBlanks(text));
    line.fault = text.find('=') == std::string_view::npos ? "neither a section, a setting nor a comment"
                                                          : "a name may hold letters, digits, _, . and - only";
    if (!text.starts_with('=')) return;
    line.fault = "a setting before the first section";
    if (m_section.empty()) return;
    text.remove_prefix(1);
    text.remove_prefix(skipBlanks(text));
    line.kind = LineKind::kSetting;
    line.name = name;
    line.fault = "";
    line.valueBegin = line.textEnd - text.size();
    line.continues = text.ends_with('\\');
  }

  const std::string_view m_text;
  std::size_t m_at = 0;
  std::size_t m_number = 1;
  bool m_startsLine = true;
  std::string_view m_section;
  std::vector<ConfigLine> m_lines;
};

}  // namespace

bool isNameCharacter(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_' || character == '.' ||
         character == '-';
}

std::vector<ConfigLine> splitConfig(std::string_view text) {
  return Splitter(text).split();
}

ConfigEntry entryAt(const std::vector<ConfigLine>& lines, std::size_t first) {
  ConfigEntry entry{first, first};
  while (lines[entry.last].continues && entry.last + 1 < lines.size())
    ++entry.last;
  return entry;
}

std::string readConfigText(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  // A folder opens, and its reading is what fails.
  auto text = file ? file.read(std::string::npos) : std::nullopt;
  if (text) return std::move(*text);
  throw HostError(ErrorKind::kInputOutput, "cannot read " + terminalText(path) + ": " + std::strerror(errno));
}

}  // namespace zrhost
