#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "host/explain/Explanation.h"

namespace zrhost {

// Writes an explanation as lines for people, in pieces: each search with a table of the links that it met and what
// became of each; what was not asked; the policy that was asked for, with a table of what comes near; the answer, as
// answerTable has it. Tables are fitted to `width` columns (0: any width), texts are made safe for a terminal.
void writeExplanationText(const Explanation& explanation, std::size_t width,
                          const std::function<void(std::string_view)>& write);

}  // namespace zrhost
