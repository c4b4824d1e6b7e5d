#include "host/diff/AnswerDiff.h"

#include <algorithm>

#include "host/base/text_lines.h"

namespace zrhost {

std::vector<PlacedQuestion> readQuestions(const std::string& path) {
  std::vector<PlacedQuestion> questions;
  LineFaults faults(path);
  forEachLine(path, [&](const std::string& line, std::uint64_t number) {
    if (line.empty() || line.front() == '#') return;
    faults.gather(number, [&] { questions.push_back({number, line, parseQuestion(line)}); });
  });
  faults.throwIfAny();
  return questions;
}

bool isSameAnswer(const Answer& a, const Answer& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const AnswerResult& one, const AnswerResult& other) {
    return one.policyId == other.policyId && one.priority == other.priority && one.rule.action == other.rule.action;
  });
}

std::uint64_t diffAnswers(const Snapshot& before, const Snapshot& after, const std::vector<PlacedQuestion>& questions,
                          bool withGroups, const std::function<void(const AnswerDifference&)>& onDifference) {
  std::uint64_t different = 0;
  for (const PlacedQuestion& each : questions) {
    const Question question = withGroups ? zrhost::withGroups(each.question) : each.question;
    const AnswerDifference difference{each, ask(before, question), ask(after, question)};
    if (isSameAnswer(difference.before, difference.after)) continue;
    ++different;
    onDifference(difference);
  }
  return different;
}

}  // namespace zrhost
