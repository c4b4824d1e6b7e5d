#pragma once

#include <vector>

#include "host/ask/Question.h"
#include "host/explain/Explanation.h"
#include "host/load/Snapshot.h"

namespace zrhost {

// What was asked, and what became of it.
struct Asked {
  const Snapshot& snapshot;
  const Question& question;
  const std::vector<ExplainedSearch>& searches;
};

// Of a policy's links those that no search met but that come near to one, with what stands between, the nearest first:
//   what is the same but for capitals, blanks or HTML entities
//   the group of a user, and the default policy, that were not asked
//   the same key of another type, and types that "all" does not ask
//   a range or address near the one asked, below and above it, and a range whose addresses are the wrong way round
//   a name in which one character differs
std::vector<NearLink> nearLinks(const Asked& asked, const std::vector<const ZrEPLink*>& links);

}  // namespace zrhost
