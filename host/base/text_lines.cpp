#include "host/base/text_lines.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>
#include <sys/stat.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

[[noreturn]] void failToRead(const std::string& path, int error, const std::string& why) {
  throw HostError(error == ENOENT ? ErrorKind::kNoInput : ErrorKind::kInputOutput,
                  "cannot read " + terminalText(path) + ": " + why);
}

}  // namespace

void dropByteOrderMark(std::string& line) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (line.starts_with(kMark)) line.erase(0, kMark.size());
}

void forEachLine(const std::string& path, const std::function<void(const std::string&, std::uint64_t)>& use) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) failToRead(path, errno, std::strerror(errno));
  if (S_ISDIR(status.st_mode)) failToRead(path, EISDIR, "it is a folder");
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) failToRead(path, errno, std::strerror(errno));
  std::string line;
  for (std::uint64_t number = 1; std::getline(file, line); ++number) {
    if (number == 1) dropByteOrderMark(line);
    if (line.ends_with('\r')) line.pop_back();
    use(line, number);
  }
  if (file.bad()) failToRead(path, errno, std::strerror(errno));
}

void LineFaults::gather(std::uint64_t line, const std::function<void()>& read) {
  try {
    read();
  } catch (const HostError& error) {
    if (error.kind() != ErrorKind::kUsage) throw;
    if (m_count++ == 0) m_first = terminalText(m_path) + ", line " + std::to_string(line) + ": " + error.what();
  }
}

void LineFaults::throwIfAny() const {
  if (m_count == 0) return;
  throw HostError(ErrorKind::kBadRow,
                  m_first + (m_count == 1 ? "" : " (" + std::to_string(m_count) + " such lines in all)"));
}

}  // namespace zrhost
