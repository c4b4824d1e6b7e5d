#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "host/check/FindingCode.h"
#include "host/check/link_list_internal.h"

namespace zrhost {

// A link that stands in a relation to an earlier one: what is found about `link`, and the link that comes before it.
struct LinkRelation {
  LinkIndex link;
  FindingCode code;
  LinkIndex earlier;
};

// Looks at all links at once, when the last one has come.
class LinkSweep {
 public:
  // Whether a policy has a selected rule, so that its links count.
  using Counts = std::function<bool(std::int32_t policyId)>;

  // The list and the judge must outlive the sweep.
  LinkSweep(const LinkList& links, LinkJudge& judge, Counts counts);

  // What is found, in the order of the links: links of an ID that is there already (kBadRow), duplicates and, with
  // `notes`, equal priorities and covered ranges. n log n steps; a link comes at most once for each code.
  std::vector<LinkRelation> run(bool notes);

  // Whether a link of that type is filed under that key.
  bool isFiled(ZrPolicyCache::EntityType type, std::string_view key) const;

 private:
  using Run = std::vector<LinkIndex>;  // links of one entity, in their order

  void repeatedIds();
  void sameEntities();
  void sweepHash(const Run& links);
  void sweepEntity(const Run& links);
  void ranges();

  const LinkList& m_links;
  LinkJudge& m_judge;
  Counts m_counts;
  std::vector<LinkIndex> m_order;
  std::vector<LinkRelation> m_found;
};

}  // namespace zrhost
