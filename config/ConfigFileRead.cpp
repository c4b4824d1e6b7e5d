#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "config/ConfigFile.h"

namespace {

constexpr std::size_t kPieceBuffer = 1024;  // what a line is cut by: pieces of 1,023 characters and the zero byte
constexpr std::size_t kStreamBuffer = 65536;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

using Settings = std::map<std::string, std::string>;

// The characters that a name may have. Asking the locale once for each of the 256 is quicker than once for each
// character of a file.
class NameCharacters {
 public:
  NameCharacters() {
    for (unsigned i = 0; i < m_is.size(); ++i) {
      m_is[i] = std::isalnum(static_cast<int>(i)) != 0 || i == '_' || i == '.' || i == '-';
    }
  }

  // How many of them `text` begins with.
  std::size_t run(std::string_view text) const {
    std::size_t length = 0;
    while (length < text.size() && m_is[static_cast<unsigned char>(text[length])])
      ++length;
    return length;
  }

 private:
  std::array<bool, 256> m_is;
};

void skipBlanks(std::string_view& text) {
  std::size_t blanks = 0;
  while (blanks < text.size() && (text[blanks] == ' ' || text[blanks] == '\t'))
    ++blanks;
  text.remove_prefix(blanks);
}

bool dropLast(std::string_view& text, char character) {
  if (text.empty() || text.back() != character) return false;
  text.remove_suffix(1);
  return true;
}

// Sorts the lines of one file into settings.
class LineParser {
 public:
  explicit LineParser(std::map<std::string, Settings>& sections) : m_sections(sections) {}

  void line(std::string_view text) {
    dropLast(text, '\n');
    dropLast(text, '\r');
    if (m_continues) return continuation(text);
    skipBlanks(text);
    if (text.empty() || text.front() == '#') return;
    if (text.front() == '[') {
      header(text.substr(1));
    } else {
      setting(text);
    }
  }

 private:
  void header(std::string_view text) {
    const std::size_t length = m_characters.run(text);
    if (length == 0 || text.find(']', length) == std::string_view::npos) return;
    m_section.assign(text.substr(0, length));
    m_settings = nullptr;  // a section comes into being with its first setting
  }

  void setting(std::string_view text) {
    const std::string_view name = text.substr(0, m_characters.run(text));
    text.remove_prefix(name.size());
    skipBlanks(text);
    if (text.empty() || text.front() != '=' || m_section.empty()) return;
    text.remove_prefix(1);
    skipBlanks(text);
    m_continues = dropLast(text, '\\');
    std::string& value = valueOf(name);
    value.assign(text);
    if (m_continues) value += '\n';
    m_continued = name.empty() ? nullptr : &value;
  }

  // Looks first behind the setting before it: that is its place in a file whose names are in order.
  std::string& valueOf(std::string_view name) {
    m_name.assign(name);
    if (m_settings == nullptr) {
      m_settings = &m_sections[m_section];
      m_next = m_settings->end();
    }
    const auto place = m_settings->try_emplace(m_next, m_name);
    m_next = std::next(place);
    return place->second;
  }

  void continuation(std::string_view text) {
    m_continues = dropLast(text, '\\');
    if (m_continued == nullptr) return;  // the continuation of a setting without a name goes nowhere
    m_continued->append(text);
    if (m_continues) *m_continued += '\n';
  }

  const NameCharacters m_characters;
  std::map<std::string, Settings>& m_sections;
  std::string m_section;               // the current one; empty before the first header
  Settings* m_settings = nullptr;      // its settings, once it has one in this file
  Settings::iterator m_next;           // where a name after the last one belongs
  std::string m_name;                  // kept for its storage
  std::string* m_continued = nullptr;  // the value that a continuation line is appended to
  bool m_continues = false;
};

struct CloseStream {
  void operator()(FILE* stream) const { std::fclose(stream); }
};

class Descriptor {
 public:
  explicit Descriptor(const char* filename) : m_fd(open(filename, O_RDONLY | O_CLOEXEC)) {}
  ~Descriptor() {
    if (m_fd >= 0) close(m_fd);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return m_fd; }

 private:
  int m_fd;
};

}  // namespace

ConfigFileImpl::ConfigFileImpl(const char* filename) {
  read_config(filename);
}

int ConfigFileImpl::read_config(const char* filename) {
  // A copy, because the name may be one of the values that are about to be replaced.
  std::string name(filename == nullptr ? "" : filename);
  // Declared first: the stream uses it until it is closed.
  const auto buffer = std::make_unique_for_overwrite<char[]>(kStreamBuffer);
  const std::unique_ptr<FILE, CloseStream> stream(filename == nullptr ? nullptr : std::fopen(filename, "r"));
  if (!stream) {
    m_ok = false;
    return -1;
  }
  std::setvbuf(stream.get(), buffer.get(), _IOFBF, kStreamBuffer);
  LineParser parser(m_sections);
  bool first = true;
  char piece[kPieceBuffer];
  while (fgets_unlocked(piece, sizeof piece, stream.get()) != nullptr) {
    std::string_view text(piece);  // up to the first zero byte, if the file has one
    if (std::exchange(first, false) && text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    parser.line(text);
  }
  m_filename.swap(name);
  m_ok = true;
  return 0;
}

int ConfigFileImpl::refresh() {
  m_sections.clear();
  m_ok = false;
  return read_config(m_filename.c_str());
}

char* ConfigFileImpl::ReadWarnMsg(const char* filename) {
  if (filename == nullptr) return nullptr;
  const Descriptor file(filename);
  struct stat status = {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) return nullptr;
  const auto size = static_cast<std::size_t>(status.st_size);
  auto text = std::make_unique_for_overwrite<char[]>(size + 1);
  if (read(file.get(), text.get(), size) != static_cast<ssize_t>(size)) return nullptr;
  text[size] = '\0';
  // starts_with, not strncmp: the three bytes must be of the file.
  if (std::string_view(text.get(), size).starts_with(kByteOrderMark)) {
    std::memmove(text.get(), text.get() + kByteOrderMark.size(), size + 1 - kByteOrderMark.size());
  }
  return text.release();
}
