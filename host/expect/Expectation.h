#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/ask/Answer.h"
#include "host/ask/Question.h"

namespace zrhost {

// What the answer to a question must be.
struct Expectation {
  enum class Kind {
    kPolicies,  // these policies, best first
    kNone,      // no policy applies
    kAction,    // the first result's action
  };

  std::string asked;  // the question as it is written
  Question question;
  Kind kind = Kind::kPolicies;
  std::vector<std::int32_t> policies{};
  std::string action{};
  bool isBeginning = false;  // more may follow: policies, or text of the action
};

// What stands between a question and what is expected.
inline constexpr std::string_view kExpects = " => ";

// Reads a line: a question as parseQuestion takes it, " => " (the last one counts), and one of
//   20 14 21       the IDs of the policies in their order; "20 ..." when others may follow
//   none           no policy applies
//   action TEXT    the whole text of the first result's action; "action TEXT ..." for how it begins
// Throws HostError kUsage that says what is none of these.
Expectation parseExpectation(std::string_view line);

// "expected 20 14, answered 20 13"; nothing when the answer is as expected.
std::optional<std::string> differenceOf(const Expectation& expectation, const Answer& answer);

// The line that expects this answer of that question: the IDs of its policies, or none.
std::string expectationLine(std::string_view asked, const Answer& answer);

}  // namespace zrhost
