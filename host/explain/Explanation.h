#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/ask/Answer.h"
#include "policy/ZrEPLink.h"

namespace zrhost {

// What became of a link that a search met.
enum class LinkOutcome {
  kCounts,           // it is the link of its policy's result
  kNoSelectedRule,   // its policy has no rule of kind 247
  kAlreadyInAnswer,  // its policy was answered before, by another link (or by the same one, asked twice)
};

// A link that a search met. The pointers point into the snapshot.
struct MetLink {
  const ZrEPLink* link;
  LinkOutcome outcome;
  const ZrEPLink* by;  // kAlreadyInAnswer: the link of the policy's result; else null
};

// One search, with the links that it met, in the order in which it met them. An address is two searches, as IP and as
// IP_RANGE; each group of a user is one; "all" is one for each of USER, GROUP and OTHER.
struct ExplainedSearch {
  ZrPolicyCache::EntityType type;
  std::string key;       // as it was asked; empty for the default policy and for "all"
  std::string searched;  // the key as the cache is searched for it: lower or upper case; an address as its number
  std::vector<MetLink> links;
};

// A link of the policy that was asked for, which no search met although it comes near to one.
struct NearLink {
  const ZrEPLink* link;
  std::string difference;  // why it was not met, as a clause: "its name has a capital letter, ..."
};

// Why a policy is in the answer, or why it is not.
struct PolicyExplanation {
  std::int32_t policyId;
  bool inAnswer = false;
  std::string reason;          // a clause without full stop; may quote names of any bytes
  std::vector<NearLink> near;  // the nearest first, at most 20
};

// Why an answer is what it is. Points into the snapshot that was asked.
struct Explanation {
  std::vector<ExplainedSearch> searches;
  std::vector<std::string> notAsked;  // what the question could have asked, and with which option; for people
  std::optional<PolicyExplanation> policy;
  Answer results;  // what ask answers to the question
};

}  // namespace zrhost
