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

}  // namespace

Question& Question::add(Kind kind, std::string_view key) {
  if (!tryAdd(kind, key)) refuseBadKey(kind, key);
  return *this;
}

bool Question::tryAdd(Kind kind, std::string_view key) {
  std::uint32_t address = 0;
  if (kind >= Kind::kDefault) {
    key = {};
  } else if (kind == Kind::kAddress) {
    const auto read = zrhost::readAddress(key);
    if (!read) return false;
    address = *read;
  } else if (key.empty() || key.find('\0') != std::string_view::npos) {
    return false;
  }
  m_parts.push_back({m_text.size(), key.size(), address, kind});
  try {
    m_text.append(key).push_back('\0');
  } catch (...) {
    m_text.resize(m_parts.back().start);
    m_parts.pop_back();
    throw;
  }
  return true;
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
