#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/ask/Question.h"
#include "host/load/Snapshot.h"
#include "policy/ZrPolicyCache.h"

class ZrPolicyResultSet;

namespace zrhost {

// The rule that a lookup selected, as plain values.
struct AnswerRule {
  std::int32_t id = 0;
  std::string name;
  std::int32_t type = 0;
  bool ldapSetting = false;
  std::string action;
};

// One policy that applies, with the link that bound it. Texts are as the cache holds them, of any bytes.
struct AnswerResult {
  std::int32_t priority = 0;
  std::int32_t policyId = 0;
  std::int32_t policyType = 0;
  std::string policyName;
  ZrPolicyCache::EntityType entityType = ZrPolicyCache::DEFAULT;
  std::string entityName;
  AnswerRule rule;
};

// What applies, best first: ascending priority, results of equal priority in the order in which they were found. A
// copy: it outlives the cache.
using Answer = std::vector<AnswerResult>;

// The name of an entity type ("USER", "IP_RANGE"), as g_rule_entity has it; "?" for a number that is no entity type.
const char* entityTypeName(ZrPolicyCache::EntityType type);

// Asks a snapshot. The first link found for a policy is the one that is answered, so the order of the parts counts. The
// groups of the question's users (kGroups) are asked in ascending order of their names' bytes, each once. Rules that
// are no SqlRule have an empty action. Traces each part as it is searched, with the number of results that it gave.
//
// Threads: any number at once on one snapshot.
// Throws what the lookups throw (texts, taken as const char*) and std::bad_alloc. A question of makeQuestionPart or
// parseQuestion fails for want of memory only.
Answer ask(const Snapshot& snapshot, const Question& question);

// What a bound result set holds, as an answer; starts the set's walk anew. Throws what walking throws.
Answer answerOf(ZrPolicyResultSet& results);

}  // namespace zrhost
