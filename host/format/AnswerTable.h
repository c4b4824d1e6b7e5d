#pragma once

#include <string>

#include "host/ask/Answer.h"

namespace zrhost {

// The answer as lines for people, each ended by a line feed: a heading, then one line for each result in its order, the
// columns aligned as a terminal shows them. Texts are made safe (terminalText) and never cut; a text of more than 100
// columns moves the rest of its own line only. "no policy applies" alone when the answer is empty.
std::string answerTable(const Answer& answer);

}  // namespace zrhost
