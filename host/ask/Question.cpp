#include "host/ask/Question.h"

#include <algorithm>
#include <arpa/inet.h>
#include <iterator>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

[[noreturn]] void refuse(const std::string& reason) {
  throw HostError(ErrorKind::kUsage, reason);
}

std::string quoted(std::string_view text) {
  return '"' + shortened(text) + '"';
}

// What nearly every address is: four decimal numbers without leading zeros.
std::optional<std::uint32_t> readDottedDecimal(std::string_view text) {
  std::uint32_t address = 0;
  std::size_t at = 0;
  for (int numbers = 0; numbers < 4; ++numbers) {
    const std::size_t start = at;
    std::uint32_t value = 0;
    for (; at < text.size() && at < start + 3 && text[at] >= '0' && text[at] <= '9'; ++at)
      value = value * 10 + static_cast<std::uint32_t>(text[at] - '0');
    if (at == start || value > 255 || (text[start] == '0' && at > start + 1)) return std::nullopt;
    address = address << 8U | value;
    if (numbers < 3 && (at == text.size() || text[at++] != '.')) return std::nullopt;
  }
  return at == text.size() ? std::optional(htonl(address)) : std::nullopt;
}

QuestionPart parsePart(std::string_view text) {
  if (text == "default") return {QuestionPart::Kind::kDefault, ZrPolicyCache::DEFAULT, {}};
  if (text == "all") return {QuestionPart::Kind::kAll, ZrPolicyCache::DEFAULT, {}};
  const std::string_view word = text.substr(0, text.find(' '));
  const auto* known = std::find_if(std::begin(kQuestionWords), std::end(kQuestionWords),
                                   [word](const QuestionWord& entry) { return entry.word == word; });
  if (text.empty()) refuse("a part of the question is empty; separate parts by single tabs");
  if (known == std::end(kQuestionWords)) {
    refuse(quoted(text) +
           " is no question; ask with user, group, host, ip or other and a key, with default or with all");
  }
  return makeQuestionPart(*known, text.substr(std::min(text.size(), word.size() + 1)));
}

}  // namespace

bool isUser(const QuestionPart& part) {
  return part.kind == QuestionPart::Kind::kEntity && part.entityType == ZrPolicyCache::USER;
}

// inet_addr stops at a blank and ignores what follows it: such a text would be answered for another address than the
// one that its writer had in mind.
std::optional<std::uint32_t> readAddress(std::string_view text) {
  constexpr std::string_view kAddressCharacters = "0123456789abcdefABCDEFxX.";
  auto address = readDottedDecimal(text);
  if (!address && text.find_first_not_of(kAddressCharacters) == text.npos)
    address = inet_addr(std::string(text).c_str());
  return address != INADDR_NONE ? address : std::nullopt;
}

bool isAddress(std::string_view text) {
  return readAddress(text).has_value();
}

QuestionPart makeQuestionPart(const QuestionWord& word, std::string_view key) {
  const std::string name = word.word;
  if (key.empty()) refuse(name + " needs a key that is not empty");
  if (key.find('\0') != std::string_view::npos) refuse(name + " " + quoted(key) + ": a key cannot hold a zero byte");
  QuestionPart part{word.kind, word.entityType, std::string(key)};
  if (part.kind == QuestionPart::Kind::kAddress && !isAddress(part.key)) {
    refuse(name + " " + quoted(key) + " is no IPv4 address that can be looked up; write it as in 10.0.0.7");
  }
  return part;
}

Question parseQuestion(std::string_view line) {
  Question question;
  for (std::size_t start = 0; start <= line.size();) {
    const std::size_t end = std::min(line.find('\t', start), line.size());
    question.push_back(parsePart(line.substr(start, end - start)));
    start = end + 1;
  }
  return question;
}

Question withGroups(Question question) {
  const auto lastUser = std::find_if(question.rbegin(), question.rend(), isUser);
  if (lastUser != question.rend()) {
    question.insert(lastUser.base(), {QuestionPart::Kind::kGroups, ZrPolicyCache::GROUP, {}});
  }
  return question;
}

}  // namespace zrhost
