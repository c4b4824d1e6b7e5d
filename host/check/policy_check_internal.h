#pragma once

#include <cstdint>
#include <map>

#include "host/check/finding_log_internal.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// The finding about a rule or a link ("rule", "link") of a policy that is not there.
Fault unknownPolicy(const char* what, const Field& policyId);

// Looks at the policies of a cache when all their rules and links are known.
class PolicyCheck {
 public:
  PolicyCheck(const ZrPolicyCache& cache, FindingLog& log) : m_cache(cache), m_log(log) {}

  // A policy that was loaded.
  void add(const RowName& name);
  // A link that names a policy, whether it loads or not: a link that has to be mended is a link.
  void countLink(const Field& policyId);
  // Whether the text is a number, and no policy has it.
  bool isUnknown(const Field& policyId) const;
  void finish();

 private:
  struct Known {
    std::uint64_t links = 0;
    RowPlace place;
  };
  void finishPolicy(const ZrPolicy& policy, const Known& known);

  const ZrPolicyCache& m_cache;
  FindingLog& m_log;
  std::map<std::int32_t, Known> m_known;
};

}  // namespace zrhost
