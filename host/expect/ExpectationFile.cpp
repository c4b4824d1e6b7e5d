#include "host/expect/ExpectationFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/stat.h>

#include "host/base/HostError.h"
#include "host/base/file_replace.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

[[noreturn]] void failToRead(const std::string& path, int error, const std::string& why) {
  throw HostError(error == ENOENT ? ErrorKind::kNoInput : ErrorKind::kInputOutput,
                  "cannot read " + terminalText(path) + ": " + why);
}

// Calls `use` with each line and its number.
template <class Use>
void forEachLine(const std::string& path, Use use) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) failToRead(path, errno, std::strerror(errno));
  if (S_ISDIR(status.st_mode)) failToRead(path, EISDIR, "it is a folder");
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) failToRead(path, errno, std::strerror(errno));
  std::string line;
  for (std::uint64_t number = 1; std::getline(file, line); ++number) {
    if (line.ends_with('\r')) line.pop_back();
    use(line, number);
  }
  if (file.bad()) failToRead(path, errno, std::strerror(errno));
}

bool saysNothing(const std::string& line) {
  return line.empty() || line.front() == '#';
}

// Collects what is wrong with lines, so that all of them can be counted.
class LineFaults {
 public:
  explicit LineFaults(const std::string& path) : m_path(path) {}

  template <class Action>
  void gather(std::uint64_t line, Action action) {
    try {
      action();
    } catch (const HostError& error) {
      if (error.kind() != ErrorKind::kUsage) throw;
      if (m_count++ == 0) m_first = terminalText(m_path) + ", line " + std::to_string(line) + ": " + error.what();
    }
  }
  void throwIfAny() const {
    if (m_count == 0) return;
    throw HostError(ErrorKind::kBadRow,
                    m_first + (m_count == 1 ? "" : " (" + std::to_string(m_count) + " such lines in all)"));
  }

 private:
  const std::string& m_path;
  std::string m_first;
  std::uint64_t m_count = 0;
};

}  // namespace

std::vector<PlacedExpectation> readExpectations(const std::string& path) {
  std::vector<PlacedExpectation> expectations;
  LineFaults faults(path);
  forEachLine(path, [&](const std::string& line, std::uint64_t number) {
    if (saysNothing(line)) return;
    faults.gather(number, [&] { expectations.push_back({number, parseExpectation(line)}); });
  });
  faults.throwIfAny();
  return expectations;
}

std::uint64_t recordExpectations(const std::string& path, const std::function<Answer(const Question&)>& ask) {
  std::string text;
  std::uint64_t questions = 0;
  LineFaults faults(path);
  forEachLine(path, [&](const std::string& line, std::uint64_t number) {
    if (saysNothing(line)) {
      text += line + '\n';
      return;
    }
    faults.gather(number, [&] {
      const std::string asked = line.substr(0, line.rfind(kExpects));
      text += expectationLine(asked, ask(parseQuestion(asked))) + '\n';
      ++questions;
    });
  });
  faults.throwIfAny();
  const std::string target = linkTarget(path);
  Replacement file(target, plainFile(target));
  file.write(text);
  file.commit();
  return questions;
}

}  // namespace zrhost
