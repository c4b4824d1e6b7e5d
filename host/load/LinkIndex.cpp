#include "host/load/LinkIndex.h"

#include <algorithm>
#include <arpa/inet.h>
#include <bit>
#include <unordered_map>

#include "host/load/SqlRule.h"
#include "host/load/search_key.h"

namespace zrhost {
namespace {

// As ZrPolicy::getRuleByDateTime answers it.
const SqlRule* selectedRule(const ZrPolicy& policy) {
  return static_cast<const SqlRule*>(policy.getRuleByDateTime());
}

}  // namespace

// Reads a cache into an index.
class LinkIndex::Builder {
 public:
  explicit Builder(LinkIndex& index) : m_index(index) {}

  void takePolicies(const std::map<int, ZrPolicy*>& policies) {
    for (const auto& [id, policy] : policies) {
      const SqlRule* const rule = selectedRule(*policy);
      if (rule == nullptr) continue;
      m_numbers.emplace(policy, static_cast<std::uint32_t>(m_index.m_applying.size()));
      m_index.m_applying.push_back({policy, rule});
    }
  }

  // `hashOf` makes of a key what is stored as its hash; `isName` tells whether a link's own name tells its key.
  template <class Map, class HashOf, class KeyOf, class IsName>
  void take(const Map& map, Table& table, const HashOf& hashOf, const KeyOf& keyOf, const IsName& isName) {
    table.reserve(map.size());
    for (auto at = map.begin(); at != map.end();) {
      const auto& key = at->first;
      const std::size_t begin = m_index.m_listed.size();
      for (; at != map.end() && at->first == key; ++at)
        takeLink(at->second, hashOf(key));
      const std::size_t count = m_index.m_listed.size() - begin;
      if (count == 1 && isName(key, *m_index.m_listed.back().link)) {
        table.place(m_index.m_listed.back());
        m_index.m_listed.pop_back();
      } else if (count > 0) {
        table.place({nullptr, static_cast<std::uint32_t>(m_index.m_lists.size()), hashOf(key)});
        m_index.m_lists.push_back({keyOf(key), begin, m_index.m_listed.size()});
      }
    }
  }

  void takeDefault(const ZrEPLink& link) {
    if (link.m_pPolicy != nullptr) takeLink(&link, 0);
  }

  // Whatever points into the lists, which have their places for good now.
  void finish(const ZrEPLink& byDefault, const GroupMembers& members) {
    m_index.m_lists.shrink_to_fit();
    m_index.m_listed.shrink_to_fit();
    const Entry* const end = m_index.m_listed.data() + m_index.m_listed.size();
    if (end != m_index.m_listed.data() && (end - 1)->link == &byDefault) m_index.m_default = {end - 1, end};
    m_index.m_groups.reserve(members.groups());
    for (GroupMembers::Group group = 0; group < members.groups(); ++group) {
      std::string name = members.name(group);
      makeSearchKey(ZrEntityType::GROUP, name.data(), name.size());
      m_index.m_groups.push_back(m_index.named(ZrEntityType::GROUP, name, hashKey(name)));
    }
  }

  void takeRanges(const std::vector<ZrEPLink*>& links) {
    auto& covered = m_index.m_covered;
    for (const ZrEPLink* const link : links) {
      const std::uint32_t from = ntohl(link->m_ipFrom), to = ntohl(link->m_ipTo);
      const auto number = m_numbers.find(link->m_pPolicy);
      if (from <= to && number != m_numbers.end()) covered.push_back({from, to, {link, number->second, 0}});
    }
    std::sort(covered.begin(), covered.end(), [](const Covered& a, const Covered& b) { return a.from < b.from; });
    std::size_t kept = 0;
    for (const Covered& range : covered) {
      if (kept == 0 || range.from > covered[kept - 1].to) {
        covered[kept++] = range;
      } else {
        covered[kept - 1].to = std::max(covered[kept - 1].to, range.to);
        covered[kept - 1].range.link = nullptr;
      }
    }
    covered.resize(kept);
    covered.shrink_to_fit();
  }

 private:
  void takeLink(const ZrEPLink* link, std::uint32_t hash) {
    const auto number = m_numbers.find(link->m_pPolicy);
    if (number != m_numbers.end()) m_index.m_listed.push_back({link, number->second, hash});
  }

  LinkIndex& m_index;
  std::unordered_map<const ZrPolicy*, std::uint32_t> m_numbers;
};

LinkIndex::LinkIndex(const ZrPolicyCache& cache, const GroupMembers& members) {
  Builder builder(*this);
  builder.takePolicies(cache.m_mapPolicy);
  const auto hashOfName = [](const std::string& key) { return placeHash(hashKey(key)); };
  const auto keyOfName = [](const std::string& key) { return std::string_view(key); };
  const auto isName = [](const std::string& key, const ZrEPLink& link) { return link.m_entityName == key; };
  builder.take(cache.m_mapUser, m_users, hashOfName, keyOfName, isName);
  builder.take(cache.m_mapGroup, m_groupNames, hashOfName, keyOfName, isName);
  builder.take(cache.m_mapHostname, m_hosts, hashOfName, keyOfName, isName);
  builder.take(cache.m_mapOther, m_others, hashOfName, keyOfName, isName);
  builder.take(
      cache.m_mapIp, m_addresses, [](unsigned long key) { return static_cast<std::uint32_t>(key); },
      [](unsigned long) { return std::string_view(); }, [](unsigned long, const ZrEPLink&) { return true; });
  builder.takeDefault(cache.m_defaultLink);
  builder.finish(cache.m_defaultLink, members);
  builder.takeRanges(cache.m_vecIpRange);
}

const LinkIndex::Table& LinkIndex::tableOf(ZrEntityType type) const {
  switch (type) {
    case ZrEntityType::USER:
      return m_users;
    case ZrEntityType::GROUP:
      return m_groupNames;
    case ZrEntityType::HOSTNAME:
      return m_hosts;
    default:
      return m_others;
  }
}

LinkIndex::Links LinkIndex::linksAt(const Entry* place) const {
  if (place == nullptr) return {};
  if (place->link != nullptr) return {place, place + 1};
  const List& list = m_lists[place->policy];
  return {m_listed.data() + list.begin, m_listed.data() + list.end};
}

LinkIndex::Links LinkIndex::named(ZrEntityType type, std::string_view key, std::uint64_t hash) const {
  return linksAt(tableOf(type).find(placeHash(hash), [this, key](const Entry& place) {
    return key == (place.link != nullptr ? std::string_view(place.link->m_entityName) : m_lists[place.policy].key);
  }));
}

LinkIndex::Links LinkIndex::ofAddress(std::uint32_t address) const {
  return linksAt(m_addresses.find(address, [](const Entry&) { return true; }));
}

bool LinkIndex::isInRange(std::uint32_t address, Links& links) const {
  const std::uint32_t wanted = ntohl(address);
  const auto behind = std::partition_point(m_covered.begin(), m_covered.end(),
                                           [wanted](const Covered& covered) { return covered.from <= wanted; });
  if (behind == m_covered.begin() || wanted > std::prev(behind)->to) return false;
  const Entry& range = std::prev(behind)->range;
  if (range.link != nullptr) links = {&range, &range + 1};
  return true;
}

void LinkIndex::Table::reserve(std::size_t keys) {
  if (keys == 0) return;
  const std::size_t places = std::bit_ceil(std::max<std::size_t>(keys + keys / 3 + 1, 2));
  m_places.resize(places);
  m_shift = 64U - static_cast<unsigned>(std::countr_zero(places));
}

void LinkIndex::Table::place(const Entry& entry) {
  std::size_t at = first(entry.hash);
  while (m_places[at].policy != kFree)
    at = (at + 1) & (m_places.size() - 1);
  m_places[at] = entry;
}

}  // namespace zrhost
