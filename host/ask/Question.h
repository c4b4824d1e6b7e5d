#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "policy/ZrPolicyCache.h"

namespace zrhost {

// One thing that a question asks for. `key` is the entity's text, of any bytes; it is empty for kinds without one.
struct QuestionPart {
  enum class Kind {
    kEntity,   // the links of `entityType` whose key is `key`
    kAddress,  // the links of the single address `key`, then those of the ranges that hold it
    kGroups,   // the links of the groups that the users of the question are in; see withGroups
    kDefault,  // the default policy
    kAll,      // every user, group and other link
  };

  Kind kind = Kind::kEntity;
  ZrPolicyCache::EntityType entityType = ZrPolicyCache::USER;
  std::string key;
};

// Whether a part asks for a user.
bool isUser(const QuestionPart& part);

// What is asked in one go: the parts are looked up in this order, and each policy is answered once.
using Question = std::vector<QuestionPart>;

// The words by which people name the kinds that have a key, with what stands for the key in a help text.
struct QuestionWord {
  const char* word;
  const char* keyName;
  QuestionPart::Kind kind;
  ZrPolicyCache::EntityType entityType;
};
inline constexpr QuestionWord kQuestionWords[] = {
    {"user", "NAME", QuestionPart::Kind::kEntity, ZrPolicyCache::USER},
    {"group", "NAME", QuestionPart::Kind::kEntity, ZrPolicyCache::GROUP},
    {"host", "NAME", QuestionPart::Kind::kEntity, ZrPolicyCache::HOSTNAME},
    {"ip", "ADDRESS", QuestionPart::Kind::kAddress, ZrPolicyCache::IP},
    {"other", "KEY", QuestionPart::Kind::kEntity, ZrPolicyCache::OTHER},
};

// Whether a text is an address that is looked up with: one that `inet_addr` knows (not 255.255.255.255), and nothing
// that follows it.
bool isAddress(std::string_view text);
// The address as inet_addr gives it, in network byte order; nothing when the text is none.
std::optional<std::uint32_t> readAddress(std::string_view text);

// Makes the part for a word of kQuestionWords and its key.
//
// Throws HostError kUsage for a key that the library would not search with, or would read only a part of: an empty
// one, one with a zero byte, an address that `inet_addr` does not know (255.255.255.255 included) or that something
// follows.
QuestionPart makeQuestionPart(const QuestionWord& word, std::string_view key);

// Reads a question from one line of text without its end: parts separated by single tabs, each a word of
// kQuestionWords, one blank and the key ("user john@example.org"; everything behind that blank belongs to the key), or
// the word "default" or "all" alone.
//
// Throws HostError kUsage that says which part is none and why.
Question parseQuestion(std::string_view line);

// The question with the groups of its users asked too: a part kGroups directly behind the last user. Without a user the
// question is as it was.
Question withGroups(Question question);

}  // namespace zrhost
