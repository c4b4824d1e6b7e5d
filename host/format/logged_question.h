#pragma once

#include <string_view>

#include "host/ask/Question.h"

namespace zrhost {

// The part of a question as the service writes and takes it in JSON: `type` is "user", "group", "host", "address" (or
// "ip"), "other", "default" or "all", the last two without a key.
//
// Throws HostError kUsage for another type, for a key that no lookup is made with, one that a decision log has redacted
// included, and for one where there can be none.
QuestionPart loggedQuestionPart(std::string_view type, std::string_view key);

}  // namespace zrhost
