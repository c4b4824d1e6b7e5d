#include <algorithm>
#include <gtest/gtest.h>
#include <random>

#include "policy/policy_objects.h"
#include "support/PolicyLog.h"

// Random operations on a cache, compared with a model that is nothing but the list of links in the order of adding.

namespace {

using zrtest::newLink;
using Links = std::vector<const ZrEPLink*>;

constexpr ZrEntityType kNamed[] = {ZrPolicyCache::USER, ZrPolicyCache::GROUP, ZrPolicyCache::HOSTNAME,
                                   ZrPolicyCache::OTHER};

class Model : public testing::TestWithParam<unsigned> {
 protected:
  struct Entry {
    ZrEPLink* link;
    ZrEntityType type;
    std::uint32_t key, last;  // a name's number, or addresses in host order
  };

  Model() : random(GetParam()), savedLevel(PolicyLog::ms_level) {
    PolicyLog::ms_level = 0;
    zrtest::addPolicies(cache, 300);
  }
  ~Model() override { PolicyLog::ms_level = savedLevel; }

  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
  static std::string dotted(std::uint32_t address) {
    return std::to_string(address >> 24) + '.' + std::to_string(address >> 16 & 255) + '.' +
           std::to_string(address >> 8 & 255) + '.' + std::to_string(address & 255);
  }
  static std::string nameOf(std::uint32_t key) { return "name-" + std::to_string(key * 7919); }
  // Few enough to meet again, across all octets.
  std::uint32_t anyAddress() { return below(40) << 24 | below(3) << 16 | below(2) << 8 | below(20); }

  void addOne() {
    const int policyId = static_cast<int>(below(300)) + 1;
    const int priority = static_cast<int>(below(9)) - 4;
    Entry entry{nullptr, static_cast<ZrEntityType>(below(6) + 1), below(200), 0};
    std::string name = nameOf(entry.key);
    if (entry.type == ZrPolicyCache::IP || entry.type == ZrPolicyCache::IP_RANGE || below(2) != 0) {
      if (entry.type != ZrPolicyCache::IP) entry.type = ZrPolicyCache::IP_RANGE;
      entry.key = anyAddress();
      entry.last = below(3) != 0 ? entry.key + below(1U << below(28)) : anyAddress();
      name = dotted(entry.key) + (entry.type == ZrPolicyCache::IP ? "" : " ~ " + dotted(entry.last));
    }
    entry.link = newLink(entry.type, name, policyId, priority);
    cache.addEPLink(entry.link);
    entries.push_back(entry);
  }

  // The first link of each policy with a selected rule, among those that match, by priority.
  template <class Matches>
  Links expected(Matches matches) const {
    Links links;
    std::vector<int> seen;
    for (const Entry& entry : entries) {
      const int id = entry.link->m_policyId;
      if (!matches(entry) || (id > 100 && id % 2 == 0)) continue;
      if (std::find(seen.begin(), seen.end(), id) != seen.end()) continue;
      seen.push_back(id);
      links.push_back(entry.link);
    }
    std::stable_sort(links.begin(), links.end(),
                     [](const ZrEPLink* a, const ZrEPLink* b) { return a->m_priority < b->m_priority; });
    return links;
  }

  void compare(int questions) {
    for (; questions > 0; --questions) {
      const std::uint32_t key = below(210);
      for (const ZrEntityType type : kNamed)
        ASSERT_EQ(zrtest::Asked(cache).key(type, nameOf(key)).links(),
                  expected([&](const Entry& entry) { return entry.type == type && entry.key == key; }));
      const std::uint32_t ip = anyAddress();
      ASSERT_EQ(zrtest::Asked(cache).key(ZrPolicyCache::IP, dotted(ip)).links(),
                expected([&](const Entry& entry) { return entry.type == ZrPolicyCache::IP && entry.key == ip; }));
      ASSERT_EQ(zrtest::Asked(cache).range(dotted(ip)).links(), expected([&](const Entry& entry) {
                  return entry.type == ZrPolicyCache::IP_RANGE && entry.key <= ip && ip <= entry.last;
                }));
    }
  }

  // Takes a link out of its container and out of the model, behind the cache's back.
  void removeByHand() {
    const std::size_t at = below(static_cast<std::uint32_t>(entries.size()));
    ZrEPLink* const link = entries[at].link;
    for (auto* map : {&cache.m_mapUser, &cache.m_mapGroup, &cache.m_mapHostname, &cache.m_mapOther})
      std::erase_if(*map, [link](const auto& element) { return element.second == link; });
    std::erase_if(cache.m_mapIp, [link](const auto& element) { return element.second == link; });
    std::erase(cache.m_vecIpRange, link);
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(at));
    delete link;
  }

  // Lets a filed range hold other addresses.
  void moveRange() {
    for (Entry& entry : entries) {
      if (entry.type != ZrPolicyCache::IP_RANGE || below(4) != 0) continue;
      entry.key = anyAddress();
      entry.last = entry.key + below(1U << 20);
      entry.link->m_entityName = dotted(entry.key) + " ~ " + dotted(entry.last);
      entry.link->convertIP();
    }
  }

  std::mt19937 random;
  int savedLevel;
  ZrPolicyCache cache;
  std::vector<Entry> entries;
};

TEST_P(Model, AnswersAreThoseOfAPlainSearchWhileLinksAreAdded) {
  for (int added = 0; added < 3000; ++added) {
    addOne();
    if (added % 37 == 0) compare(2);
  }
  compare(40);
  cache.reindex();
  compare(40);
  for (int added = 0; added < 700; ++added)
    addOne();
  compare(40);
}

TEST_P(Model, AnswersFollowContainersChangedByHand) {
  for (int round = 0; round < 4; ++round) {
    for (int added = 0; added < 400; ++added)
      addOne();
    removeByHand();
    compare(10);
    addOne();  // the numbers may agree again: the index must not be trusted
    compare(10);
    moveRange();
    cache.reindex();
    compare(10);
  }
  cache.purgeEPLinkList();
  entries.clear();
  compare(1);
  for (int added = 0; added < 200; ++added)
    addOne();
  compare(10);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Model, testing::Values(1U, 2U, 3U));

}  // namespace
