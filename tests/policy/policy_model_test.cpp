#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

#include "policy/policy_objects.h"
#include "support/PolicyLog.h"

// Random operations on a cache and on result sets, compared with a model that is nothing but lists of links in the
// order of adding. Hosts change both by hand now and then.

namespace {

using Links = std::vector<const ZrEPLink*>;

constexpr ZrEntityType kTypes[] = {ZrPolicyCache::USER, ZrPolicyCache::GROUP, ZrPolicyCache::HOSTNAME,
                                   ZrPolicyCache::OTHER, ZrPolicyCache::IP};
constexpr std::uint32_t kPolicies = 300;

// A result set beside the links that it should hold.
struct Answer {
  explicit Answer(ZrPolicyCache& cache) : asked(cache) {}

  void expect(const ZrEPLink* link) {
    const auto samePolicy = [link](const ZrEPLink* other) { return other->m_pPolicy->m_policyId == link->m_policyId; };
    const bool found = std::any_of(held.begin(), held.end(), samePolicy);
    if (!found && link->m_pPolicy->getRuleByDateTime() != nullptr) held.push_back(link);
  }
  std::vector<std::size_t> order() const {
    std::vector<std::size_t> order(held.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [this](std::size_t a, std::size_t b) { return held[a]->m_priority < held[b]->m_priority; });
    return order;
  }
  void check() {
    Links expected;
    for (const std::size_t at : order())
      expected.push_back(held[at]);
    ASSERT_EQ(asked.links(), expected);
  }
  void removeByHand(std::size_t place) {
    held.erase(held.begin() + static_cast<std::ptrdiff_t>(order()[place]));
    const auto result = std::next(asked.set.m_setResult.begin(), static_cast<std::ptrdiff_t>(place));
    delete *result;
    asked.set.m_setResult.erase(result);
  }
  void clear(ZrPolicyCache& cache) {
    asked.set.cleanup();
    asked.set.setRefInfo(&cache, cache.m_generation);
    held.clear();
  }

  zrtest::Asked asked;
  Links held;
};

class Model : public testing::TestWithParam<unsigned> {
 protected:
  struct Entry {
    ZrEPLink* link;
    ZrEntityType type;
    std::uint32_t key, last;  // a name's number, or addresses in host order
  };

  Model() : random(GetParam()), savedLevel(PolicyLog::ms_level) {
    PolicyLog::ms_level = 0;
    for (std::uint32_t number = 0; number < kPolicies; ++number)
      cache.addPolicy(zrtest::newPolicy(idOf(number), number < 100 || number % 2 != 0));
  }
  ~Model() override { PolicyLog::ms_level = savedLevel; }

  // The ends of the numbers are among them, and many that differ in their upper halves alone.
  static int idOf(std::uint32_t number) { return number == 1 ? INT_MAX : INT_MIN + static_cast<int>(number << 16); }
  static std::string dotted(std::uint32_t address) {
    return std::to_string(address >> 24) + '.' + std::to_string(address >> 16 & 255) + '.' +
           std::to_string(address >> 8 & 255) + '.' + std::to_string(address & 255);
  }
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
  // Few enough to meet again, across all octets.
  std::uint32_t anyAddress() { return below(40) << 24 | below(3) << 16 | below(2) << 8 | below(20); }
  Entry& anyEntry() { return entries[below(static_cast<std::uint32_t>(entries.size()))]; }
  static std::string textOf(ZrEntityType type, std::uint32_t key) {
    return type == ZrPolicyCache::IP ? dotted(key) : "name-" + std::to_string(key * 7919);
  }

  void setRange(Entry& entry) {
    entry.key = below(9) != 0 ? anyAddress() : 0;
    entry.last = below(3) != 0 ? entry.key + below(1U << below(30)) : anyAddress();
    entry.link->m_entityName = dotted(entry.key) + " ~ " + dotted(entry.last);
  }
  void addLinks(int count) {
    for (; count > 0; --count) {
      Entry entry{nullptr, below(2) != 0 ? ZrPolicyCache::IP_RANGE : kTypes[below(5)], below(nameCount), 0};
      if (entry.type == ZrPolicyCache::IP) entry.key = anyAddress();
      entry.link = zrtest::newLink(entry.type, textOf(entry.type, entry.key), idOf(below(kPolicies)),
                                   static_cast<int>(below(9)) - 4);
      if (entry.type == ZrPolicyCache::IP_RANGE) setRange(entry);
      cache.addEPLink(entry.link);
      entries.push_back(entry);
    }
  }

  void ask(Answer& answer, ZrEntityType type, std::uint32_t key) {
    if (type == ZrPolicyCache::IP_RANGE) {
      answer.asked.range(dotted(key));
    } else {
      answer.asked.key(type, textOf(type, key));
    }
    for (const Entry& entry : entries) {
      const bool range = type == ZrPolicyCache::IP_RANGE;
      const bool matches = range ? entry.key <= key && key <= entry.last : entry.key == key;
      if (entry.type == type && matches) answer.expect(entry.link);
    }
  }
  void askAny(Answer& answer) {
    const std::uint32_t kind = below(8);
    if (kind < 5) {
      ask(answer, kTypes[kind], kind < 4 ? below(nameCount + 1) : anyAddress());
    } else if (kind < 7) {
      ask(answer, ZrPolicyCache::IP_RANGE, anyAddress());
    } else {
      cache.getDefaultPolicy(&answer.asked.set);
      if (cache.m_defaultLink.m_pPolicy != nullptr) answer.expect(&cache.m_defaultLink);
    }
  }
  // What may happen to policies and results while a host collects an answer.
  void disturb(Answer& answer) {
    if (below(2) == 0) {
      anyEntry().link->m_pPolicy = anyEntry().link->m_pPolicy;
    } else if (below(3) == 0) {
      cache.addPolicy(zrtest::newPolicy((lastId += 7), true, true));
      for (int links = 0; links < 20; ++links) {  // some of which will be asked for
        ZrEPLink& link = *anyEntry().link;
        link.m_policyId = lastId - 7 * static_cast<int>(below(2));
        link.m_pPolicy = cache.m_mapPolicy.at(link.m_policyId);
      }
    } else if (!answer.held.empty()) {
      answer.removeByHand(below(static_cast<std::uint32_t>(answer.held.size())));
    }
  }
  void compare(int answers, bool disturbed = false) {
    Answer answer(cache);
    for (; answers > 0; --answers) {
      for (std::uint32_t left = 1 + below(1U << below(6)); left > 0; --left) {
        if (disturbed && below(4) == 0) disturb(answer);
        askAny(answer);
        ASSERT_NO_FATAL_FAILURE(answer.check());
      }
      answer.clear(cache);
    }
  }

  // Takes a link out of its container and out of the model, behind the cache's back.
  void removeLinkByHand() {
    const std::size_t at = below(static_cast<std::uint32_t>(entries.size()));
    ZrEPLink* const link = entries[at].link;
    for (auto* map : {&cache.m_mapUser, &cache.m_mapGroup, &cache.m_mapHostname, &cache.m_mapOther})
      std::erase_if(*map, [link](const auto& element) { return element.second == link; });
    std::erase_if(cache.m_mapIp, [link](const auto& element) { return element.second == link; });
    std::erase(cache.m_vecIpRange, link);
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(at));
    delete link;
  }
  void moveRanges() {
    for (Entry& entry : entries) {
      if (entry.type != ZrPolicyCache::IP_RANGE || below(4) != 0) continue;
      setRange(entry);
      entry.link->convertIP();
    }
  }

  std::mt19937 random;
  int savedLevel;
  std::uint32_t nameCount = 200;
  int lastId = idOf(0);
  ZrPolicyCache cache;
  std::vector<Entry> entries;
};

TEST_P(Model, AnswersAreThoseOfAPlainSearchWhileLinksAreAdded) {
  for (int added = 0; added < 3000; added += 37) {
    addLinks(37);
    compare(4);
  }
  cache.reindex();
  compare(40);
  addLinks(700);
  compare(40);
}

TEST_P(Model, AnswersFollowPoliciesAndResultsThatChangeMidway) {
  nameCount = 12;
  addLinks(1500);
  compare(200, true);
}

TEST_P(Model, AnswersFollowContainersChangedByHand) {
  for (int round = 0; round < 4; ++round) {
    addLinks(400);
    removeLinkByHand();
    compare(10);
    addLinks(1);  // the numbers may agree again: the index must not be trusted
    compare(10);
    moveRanges();
    cache.reindex();
    compare(10);
  }
  cache.purgeEPLinkList();
  entries.clear();
  addLinks(200);
  compare(10);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Model, testing::Values(1U, 2U, 3U));

}  // namespace
