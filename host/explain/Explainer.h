#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/ask/Question.h"
#include "host/explain/Explanation.h"
#include "host/load/Snapshot.h"

namespace zrhost {

// Explains the answers of a snapshot. The snapshot is asked as for an answer, search by search; what counts is what its
// result set then holds, so an explanation cannot tell anything else than the answer. The links that were met and do
// not count are found by walking the cache's containers.
//
// Link IDs are known when the snapshot was loaded with LoadOptions::keepLinkIds.
//
// Threads: any number at once on one object. It must not outlive the snapshot.
class Explainer {
 public:
  // With a policy, each explanation tells of it in particular; its links are looked for once, here.
  explicit Explainer(const Snapshot& snapshot, std::optional<std::int32_t> policyId = {});

  // Throws as ask does.
  Explanation explain(const Question& question) const;

 private:
  PolicyExplanation explainPolicy(const Question& question, const Explanation& explanation) const;
  std::string whyNot() const;

  const Snapshot& m_snapshot;
  std::optional<std::int32_t> m_policyId;
  const ZrPolicy* m_policy = nullptr;            // of that ID; null when there is none
  std::vector<const ZrEPLink*> m_linksOfPolicy;  // in the order in which "all" and address searches would meet them
};

}  // namespace zrhost
