#include "host/format/logged_question.h"

#include <algorithm>
#include <string>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr std::string_view kRedacted = "hmac:";
constexpr std::size_t kRedactedSize = kRedacted.size() + 32;

[[noreturn]] void refuse(const std::string& text) {
  throw HostError(ErrorKind::kUsage, text);
}

}  // namespace

QuestionPart loggedQuestionPart(std::string_view type, std::string_view key) {
  if (type == "default" || type == "all") {
    if (!key.empty()) refuse("\"" + std::string(type) + "\" has no key");
    return parseQuestion(type).front();
  }
  if (key.starts_with(kRedacted) && key.size() == kRedactedSize) refuse("a redacted key cannot be asked for");
  const std::string_view name = type == "address" ? "ip" : type;
  const auto* const word = std::ranges::find(kQuestionWords, name, &QuestionWord::word);
  if (word == std::end(kQuestionWords))
    refuse("unknown type \"" + shortened(type) + "\", not user, group, host, address, other, default or all");
  return makeQuestionPart(*word, key);
}

}  // namespace zrhost
