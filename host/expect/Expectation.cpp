#include "host/expect/Expectation.h"

#include <algorithm>
#include <limits>

#include "host/base/HostError.h"
#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr std::string_view kNone = "none";
constexpr std::string_view kActionWord = "action ";
constexpr std::string_view kMore = "...";

[[noreturn]] void refuse(const std::string& reason) {
  throw HostError(ErrorKind::kUsage, reason);
}

// Takes " ..." off the end of a text.
bool takeMore(std::string_view& text) {
  const std::string more = ' ' + std::string(kMore);
  if (!text.ends_with(more)) return false;
  text.remove_suffix(more.size());
  return true;
}

std::int32_t policyId(std::string_view word) {
  using Limits = std::numeric_limits<std::int32_t>;
  const auto id = strictNumber(word, Limits::min(), Limits::max());
  if (!id) {
    refuse('"' + shortened(word) +
           "\" is no policy ID; expect IDs parted by single blanks, none, or action and a text");
  }
  return static_cast<std::int32_t>(*id);
}

std::vector<std::int32_t> policyIds(std::string_view text) {
  std::vector<std::int32_t> ids;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(' ', start), text.size());
    ids.push_back(policyId(text.substr(start, end - start)));
    start = end + 1;
  }
  return ids;
}

void parseExpected(std::string_view text, Expectation& expectation) {
  if (text == kNone) {
    expectation.kind = Expectation::Kind::kNone;
    return;
  }
  expectation.isBeginning = takeMore(text);
  if (text.starts_with(kActionWord)) {
    expectation.kind = Expectation::Kind::kAction;
    expectation.action = text.substr(kActionWord.size());
  } else {
    expectation.policies = policyIds(text);
  }
}

std::vector<std::int32_t> policiesOf(const Answer& answer) {
  std::vector<std::int32_t> ids;
  for (const AnswerResult& result : answer)
    ids.push_back(result.policyId);
  return ids;
}

std::string textOf(const std::vector<std::int32_t>& ids) {
  std::string text;
  for (const std::int32_t id : ids)
    text += (text.empty() ? "" : " ") + std::to_string(id);
  return text.empty() ? std::string(kNone) : text;
}

std::string expectedText(const Expectation& expectation) {
  const std::string text = expectation.kind == Expectation::Kind::kAction
                               ? std::string(kActionWord) + shortened(expectation.action)
                               : textOf(expectation.policies);
  return expectation.isBeginning ? text + ' ' + std::string(kMore) : text;
}

template <class Sequence>
bool fits(const Sequence& expected, const Sequence& answered, bool isBeginning) {
  return isBeginning ? std::ranges::mismatch(expected, answered).in1 == expected.end() : expected == answered;
}

}  // namespace

Expectation parseExpectation(std::string_view line) {
  const std::size_t at = line.rfind(kExpects);
  if (at == std::string_view::npos)
    refuse("nothing is expected of it; write \" => \" and the policies behind the question");
  Expectation expectation;
  expectation.asked = line.substr(0, at);
  expectation.question = parseQuestion(expectation.asked);
  parseExpected(line.substr(at + kExpects.size()), expectation);
  return expectation;
}

std::optional<std::string> differenceOf(const Expectation& expectation, const Answer& answer) {
  std::string answered = textOf(policiesOf(answer));
  if (expectation.kind == Expectation::Kind::kAction && !answer.empty()) {
    const std::string& action = answer.front().rule.action;
    if (fits(expectation.action, action, expectation.isBeginning)) return std::nullopt;
    answered = std::string(kActionWord) + shortened(action);
  } else if (expectation.kind != Expectation::Kind::kAction &&
             fits(expectation.policies, policiesOf(answer), expectation.isBeginning)) {
    return std::nullopt;
  }
  return "expected " + expectedText(expectation) + ", answered " + answered;
}

std::string expectationLine(std::string_view asked, const Answer& answer) {
  return std::string(asked) + std::string(kExpects) + textOf(policiesOf(answer));
}

}  // namespace zrhost
