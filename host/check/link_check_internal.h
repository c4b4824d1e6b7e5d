#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/check/finding_log_internal.h"
#include "host/check/link_judge_internal.h"
#include "host/check/link_list_internal.h"
#include "host/check/link_sweep_internal.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// Looks at links: at each as it comes, and at all of them in the end.
class LinkCheck {
 public:
  // The cache holds the policies, and each link while it is looked at.
  LinkCheck(ZrPolicyCache& cache, LinkJudge& judge, FindingLog& log) : m_cache(cache), m_judge(judge), m_log(log) {}

  // The row of the one link that the cache holds; it is dropped from the cache. `place` may be null.
  void loaded(const LinkRow& row, const RowPlace* place);
  // A row that was refused for that reason.
  void refused(const LinkRow& row, const std::string& reason, const RowPlace* place);

  // Looks at all links; further calls do nothing.
  void finish();
  // Whether a question finds the group by this name. After finish.
  bool hasGroup(const std::string& name) const;

 private:
  void checkText(ZrPolicyCache::EntityType type, const std::string& text, const FiledLink& filed);
  // Whether a policy has a selected rule.
  bool counts(std::int32_t policyId) const;
  Fault faultOf(const LinkRelation& relation) const;
  std::string shownEntity(LinkIndex index) const;

  ZrPolicyCache& m_cache;
  LinkJudge& m_judge;
  FindingLog& m_log;
  LinkList m_links;
  std::optional<LinkSweep> m_sweep;
  std::vector<Fault> m_faults;
};

}  // namespace zrhost
