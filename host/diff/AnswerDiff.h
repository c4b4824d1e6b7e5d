#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/ask/Answer.h"

namespace zrhost {

// A question of a file: its line, and the text of that.
struct PlacedQuestion {
  std::uint64_t line;
  std::string text;
  Question question;
};

// Reads the questions of a file, one for each line, as parseQuestion takes them; empty lines and those that begin with
// # say nothing. Throws HostError kNoInput, kInputOutput, and kBadRow with the first line that is no question and the
// number of such lines.
std::vector<PlacedQuestion> readQuestions(const std::string& path);

// A question whose answers in two states differ.
struct AnswerDifference {
  const PlacedQuestion& asked;
  Answer before;
  Answer after;
};

// Whether two answers have the same policies in the same order, with the same priorities and actions.
bool isSameAnswer(const Answer& a, const Answer& b);

// Asks each question of both states, in their order, the groups of their users too with `withGroups`; calls
// `onDifference` for those whose answers differ and answers their number. Throws what ask and onDifference throw.
std::uint64_t diffAnswers(const Snapshot& before, const Snapshot& after, const std::vector<PlacedQuestion>& questions,
                          bool withGroups, const std::function<void(const AnswerDifference&)>& onDifference);

}  // namespace zrhost
