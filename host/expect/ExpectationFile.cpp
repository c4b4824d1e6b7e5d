#include "host/expect/ExpectationFile.h"

#include "host/base/file_replace.h"
#include "host/base/text_lines.h"

namespace zrhost {

namespace {

bool saysNothing(const std::string& line) {
  return line.empty() || line.front() == '#';
}

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
