#include "live/Question.h"

#include <iterator>

#include "host/ask/Question.h"
#include "host/base/HostError.h"
#include "live/live_error_internal.h"

namespace zrlive {
namespace {

// The kinds that have a key, in the order of kQuestionWords.
static_assert(static_cast<std::size_t>(Question::Kind::kDefault) == std::size(zrhost::kQuestionWords));

// What the command refuses is refused here, with the same words.
void refuseBadKey(Question::Kind kind, std::string_view key) {
  asLiveError([&] { zrhost::makeQuestionPart(zrhost::kQuestionWords[static_cast<std::size_t>(kind)], key); });
}

bool isGood(Question::Kind kind, std::string_view key) {
  if (kind == Question::Kind::kAddress) return Question::isAddress(key);
  return !key.empty() && key.find('\0') == std::string_view::npos;
}

}  // namespace

Question& Question::add(Kind kind, std::string_view key) {
  if (kind >= Kind::kDefault) key = {};
  if (kind < Kind::kDefault && !isGood(kind, key)) refuseBadKey(kind, key);
  m_parts.reserve(m_parts.size() + 1);
  const std::size_t start = m_text.size();
  m_text.reserve(start + key.size() + 1);
  m_text.append(key).push_back('\0');
  m_parts.push_back({start, key.size(), kind});
  return *this;
}

void Question::clear() {
  m_text.clear();
  m_parts.clear();
  m_members = false;
}

bool Question::isAddress(std::string_view text) {
  return zrhost::isAddress(text);
}

}  // namespace zrlive
