#include "host/check/link_list_internal.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <tuple>
#include <utility>

#include "host/base/strict_number.h"
#include "host/check/address_check_internal.h"

namespace zrhost {
namespace {

// A number of a row that loading took.
std::int32_t numberOf(const Field& field) {
  return static_cast<std::int32_t>(*strictNumber(*field, INT32_MIN, INT32_MAX));
}

std::uint64_t entityOf(const FiledLink& filed) {
  const ZrEPLink& link = *filed.link;
  switch (link.m_entityType) {
    case ZrPolicyCache::IP:
      return addressNumber(link.m_ipFrom);
    case ZrPolicyCache::IP_RANGE:
      return std::uint64_t{addressNumber(link.m_ipFrom)} << 32U | addressNumber(link.m_ipTo);
    default:
      return entityOfName(filed.key);
  }
}

bool isNamed(ZrPolicyCache::EntityType type) {
  return type != ZrPolicyCache::IP && type != ZrPolicyCache::IP_RANGE;
}

}  // namespace

std::uint64_t entityOfName(std::string_view key) {
  return std::hash<std::string_view>()(key);
}

void LinkList::add(const LinkRow& row, const FiledLink& filed, const RowPlace* place) {
  m_links.push_back({entityOf(filed), m_names.size(), numberOf(row.linkId), numberOf(row.policyId),
                     numberOf(row.priority), filed.link->m_entityType});
  m_names += *row.entityName;
  if (place == nullptr) return;
  m_lines.push_back(place->line);
  if (m_file != place->file) m_file = place->file;  // one file holds all links
}

void LinkList::sortAsLoaded() {
  const auto isBefore = [](const KeptLink& a, const KeptLink& b) {
    return std::tie(a.priority, a.linkId) < std::tie(b.priority, b.linkId);
  };
  if (std::is_sorted(m_links.begin(), m_links.end(), isBefore)) return;
  std::vector<LinkIndex> order(size());
  std::iota(order.begin(), order.end(), LinkIndex{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](LinkIndex a, LinkIndex b) { return isBefore(m_links[a], m_links[b]); });
  LinkList sorted;
  for (const LinkIndex index : order) {
    sorted.m_links.push_back(m_links[index]);
    sorted.m_links.back().nameAt = sorted.m_names.size();
    sorted.m_names += name(index);
    if (!m_lines.empty()) sorted.m_lines.push_back(m_lines[index]);
  }
  sorted.m_file = std::move(m_file);
  *this = std::move(sorted);
}

std::string_view LinkList::name(LinkIndex index) const {
  const std::size_t end = index + 1 < m_links.size() ? m_links[index + 1].nameAt : m_names.size();
  return std::string_view(m_names).substr(m_links[index].nameAt, end - m_links[index].nameAt);
}

RowPlace LinkList::place(LinkIndex index) const {
  return m_lines.empty() ? RowPlace{} : RowPlace{m_file, m_lines[index]};
}

std::string LinkList::key(LinkIndex index, LinkJudge& judge) const {
  return judge.takes(m_links[index].type, name(index)) ? std::string(judge.filed().key) : std::string();
}

bool LinkList::isOneEntity(LinkIndex a, LinkIndex b, LinkJudge& judge) const {
  const KeptLink& one = m_links[a];
  const KeptLink& other = m_links[b];
  if (one.type != other.type || one.entity != other.entity) return false;
  return !isNamed(one.type) || name(a) == name(b) || key(a, judge) == key(b, judge);
}

std::vector<LinkIndex> LinkList::byEntity() const {
  struct Sorted {  // beside the links, which are too large to be moved about
    std::uint64_t entity;
    ZrPolicyCache::EntityType type;
    LinkIndex index;
    bool operator<(const Sorted& other) const {
      return std::tie(entity, type, index) < std::tie(other.entity, other.type, other.index);
    }
  };
  std::vector<Sorted> sorted;
  sorted.reserve(size());
  for (const KeptLink& link : m_links)
    sorted.push_back({link.entity, link.type, static_cast<LinkIndex>(sorted.size())});
  std::sort(sorted.begin(), sorted.end());
  std::vector<LinkIndex> order;
  order.reserve(size());
  for (const Sorted& each : sorted)
    order.push_back(each.index);
  return order;
}

}  // namespace zrhost
