#include "host/check/link_sweep_internal.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "host/check/range_sweep_internal.h"

namespace zrhost {

LinkSweep::LinkSweep(const LinkList& links, LinkJudge& judge, Counts counts)
    : m_links(links), m_judge(judge), m_counts(std::move(counts)), m_order(links.byEntity()) {}

std::vector<LinkRelation> LinkSweep::run(bool notes) {
  repeatedIds();
  sameEntities();
  if (notes) ranges();
  if (!notes) std::erase_if(m_found, [](const LinkRelation& each) { return each.code == FindingCode::kEqualPriority; });
  std::sort(m_found.begin(), m_found.end(), [](const LinkRelation& a, const LinkRelation& b) {
    return std::tie(a.link, a.code) < std::tie(b.link, b.code);
  });
  return std::move(m_found);
}

void LinkSweep::repeatedIds() {
  std::vector<std::pair<std::int32_t, LinkIndex>> ids;
  ids.reserve(m_links.size());
  for (LinkIndex index = 0; index < m_links.size(); ++index)
    ids.emplace_back(m_links[index].linkId, index);
  std::sort(ids.begin(), ids.end());
  for (std::size_t i = 1, first = 0; i < ids.size(); ++i) {
    if (ids[i].first != ids[first].first) first = i;
    if (i != first) m_found.push_back({ids[i].second, FindingCode::kBadRow, ids[first].second});
  }
}

void LinkSweep::sameEntities() {
  Run run;
  for (std::size_t begin = 0, end = 0; begin < m_order.size(); begin = end) {
    const KeptLink& first = m_links[m_order[begin]];
    const auto isSame = [this, &first](LinkIndex index) {
      return m_links[index].entity == first.entity && m_links[index].type == first.type;
    };
    for (end = begin + 1; end < m_order.size() && isSame(m_order[end]);)
      ++end;
    if (end - begin == 1) continue;
    run.assign(m_order.begin() + static_cast<std::ptrdiff_t>(begin),
               m_order.begin() + static_cast<std::ptrdiff_t>(end));
    sweepHash(run);
  }
}

// Links of one hash are those of one entity, but for a coincidence.
void LinkSweep::sweepHash(const Run& links) {
  const auto isFirst = [&](LinkIndex index) { return m_links.isOneEntity(links.front(), index, m_judge); };
  if (std::all_of(links.begin() + 1, links.end(), isFirst)) return sweepEntity(links);
  std::map<std::string, Run> byKey;
  for (const LinkIndex index : links)
    byKey[m_links.key(index, m_judge)].push_back(index);
  for (const auto& [key, run] : byKey)
    sweepEntity(run);
}

// Of the links of an entity the first of each policy is the one that an answer shows. Those of equal priority stand
// side by side.
void LinkSweep::sweepEntity(const Run& links) {
  std::unordered_map<std::int32_t, LinkIndex> firstOfPolicy;
  std::optional<LinkIndex> decider;  // the first of the present priority
  const bool isRange = m_links[links.front()].type == ZrPolicyCache::IP_RANGE;
  if (isRange && m_links[links.front()].first() > m_links[links.front()].last()) return;
  for (const LinkIndex index : links) {
    const KeptLink& link = m_links[index];
    const auto [place, isFirst] = firstOfPolicy.emplace(link.policyId, index);
    if (!isFirst) {
      m_found.push_back({index, FindingCode::kDuplicateLink, place->second});
    } else if (!isRange && m_counts(link.policyId)) {
      if (decider && m_links[*decider].priority == link.priority) {
        m_found.push_back({index, FindingCode::kEqualPriority, *decider});
      } else {
        decider = index;
      }
    }
  }
}

// A range that another one of its policy makes idle, being equal to it or around it, takes no part in an answer, and so
// in no equality of priorities.
void LinkSweep::ranges() {
  std::vector<bool> isIdle(m_links.size());
  for (const LinkRelation& each : m_found)
    isIdle[each.link] = isIdle[each.link] || each.code == FindingCode::kDuplicateLink;
  std::vector<SweptRange> live;
  for (LinkIndex index = 0; index < m_links.size(); ++index) {
    const KeptLink& link = m_links[index];
    if (link.type != ZrPolicyCache::IP_RANGE || isIdle[index] || link.first() > link.last()) continue;
    live.push_back({link.first(), link.last(), link.policyId, link.priority, index});
  }
  for (const RangePair& each : coveredRanges(live)) {
    m_found.push_back({each.range, FindingCode::kCoveredRange, each.earlier});
    isIdle[each.range] = true;
  }
  std::erase_if(live, [&](const SweptRange& range) { return isIdle[range.link] || !m_counts(range.policyId); });
  for (const RangePair& each : rangesOfEqualPriority(live))
    m_found.push_back({each.range, FindingCode::kEqualPriority, each.earlier});
}

bool LinkSweep::isFiled(ZrPolicyCache::EntityType type, std::string_view key) const {
  const std::pair wanted{entityOfName(key), type};
  const auto entityOf = [this](LinkIndex index) { return std::pair{m_links[index].entity, m_links[index].type}; };
  auto at = std::lower_bound(m_order.begin(), m_order.end(), wanted,
                             [&](LinkIndex index, const auto& value) { return entityOf(index) < value; });
  for (; at != m_order.end() && entityOf(*at) == wanted; ++at) {
    if (m_links.key(*at, m_judge) == key) return true;
  }
  return false;
}

}  // namespace zrhost
