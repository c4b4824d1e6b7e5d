#pragma once

#include <cstddef>
#include <string>

#include "host/ask/Answer.h"

namespace zrhost {

// The answer as lines for people, each ended by a line feed: a heading, then one line for each result in its order,
// laid out by TextTable. Where the lines would be longer than `width` (0: any length), names, entities and actions are
// cut, never numbers. "no policy applies" alone when the answer is empty.
std::string answerTable(const Answer& answer, std::size_t width = 0);

}  // namespace zrhost
