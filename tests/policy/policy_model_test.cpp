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

constexpr ZrEntityType kTypes[] = {ZrPolicyCache::USER,  ZrPolicyCache::GROUP, ZrPolicyCache::HOSTNAME,
                                   ZrPolicyCache::OTHER, ZrPolicyCache::IP,    ZrPolicyCache::IP_RANGE};
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
  Links expected() const {
    Links links;
    for (const std::size_t at : order())
      links.push_back(held[at]);
    return links;
  }
  void removeByHand(std::size_t place) {
    held.erase(held.begin() + static_cast<std::ptrdiff_t>(order()[place]));
    const auto result = std::next(asked.set.m_setResult.begin(), static_cast<std::ptrdiff_t>(place));
    delete *result;
    asked.set.m_setResult.erase(result);
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

  Model() : random(GetParam()) {
    PolicyLog::ms_level = 0;
    for (std::uint32_t number = 0; number < kPolicies; ++number)
      cache.addPolicy(zrtest::newPolicy(idOf(number), number < 100 || number % 2 != 0));
  }
  ~Model() override { PolicyLog::ms_level = PolicyLog::LEVEL_TRACE; }

  // The ends of the numbers are among them, and many that differ in their upper halves alone.
  static int idOf(std::uint32_t number) { return number == 1 ? INT_MAX : INT_MIN + static_cast<int>(number << 16); }
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
  ZrEPLink& anyLink() { return *entries[below(static_cast<std::uint32_t>(entries.size()))].link; }
  // Addresses are few enough to meet again, across all octets.
  std::uint32_t anyKey(ZrEntityType type) {
    return type < ZrPolicyCache::IP || type > ZrPolicyCache::IP_RANGE
               ? below(nameCount)
               : below(40) << 24 | below(3) << 16 | below(2) << 8 | below(20);
  }
  static std::string textOf(ZrEntityType type, std::uint32_t key) {
    if (type < ZrPolicyCache::IP || type > ZrPolicyCache::IP_RANGE) return "name-" + std::to_string(key * 7919);
    return std::to_string(key >> 24) + '.' + std::to_string(key >> 16 & 255) + '.' + std::to_string(key >> 8 & 255) +
           '.' + std::to_string(key & 255);
  }

  void setKey(Entry& entry) {
    entry.key = below(9) != 0 ? anyKey(entry.type) : 0;
    entry.link->m_entityName = textOf(entry.type, entry.key);
    if (entry.type != ZrPolicyCache::IP_RANGE) return;
    entry.last = below(3) != 0 ? entry.key + below(1U << below(30)) : anyKey(entry.type);
    entry.link->m_entityName += " ~ " + textOf(entry.type, entry.last);
  }
  void addLinks(int count) {
    for (; count > 0; --count) {
      const ZrEntityType type = kTypes[below(2) != 0 ? 5 : below(5)];
      const int priority = static_cast<int>(below(9)) - 4;
      Entry entry{zrtest::newLink(type, "", idOf(below(kPolicies)), priority), type, 0, 0};
      setKey(entry);
      cache.addEPLink(entry.link);
      entries.push_back(entry);
    }
  }
  void ask(Answer& answer) {
    const ZrEntityType type = kTypes[below(6)];
    const std::uint32_t key = anyKey(type);
    const bool range = type == ZrPolicyCache::IP_RANGE;
    range ? answer.asked.range(textOf(type, key)) : answer.asked.key(type, textOf(type, key));
    for (const Entry& entry : entries) {
      const bool matches = range ? entry.key <= key && key <= entry.last : entry.key == key;
      if (entry.type == type && matches) answer.expect(entry.link);
    }
    if (cache.m_defaultLink.m_pPolicy == nullptr || below(4) != 0) return;
    cache.getDefaultPolicy(&answer.asked.set);
    answer.expect(&cache.m_defaultLink);
  }
  // What may happen to policies and results while a host collects an answer.
  void disturb(Answer& answer) {
    const std::uint32_t what = below(6);
    if (what < 3) {
      anyLink().m_pPolicy = anyLink().m_pPolicy;
    } else if (what < 5 && !answer.held.empty()) {
      answer.removeByHand(below(static_cast<std::uint32_t>(answer.held.size())));
    } else {
      cache.addPolicy(zrtest::newPolicy(lastId += 7, true, true));
      for (int links = 0; links < 20; ++links) {  // some of which will be asked for
        ZrEPLink& link = anyLink();
        link.m_policyId = lastId - 7 * static_cast<int>(below(2));
        link.m_pPolicy = cache.m_mapPolicy.at(link.m_policyId);
      }
    }
  }
  // A host adds what it found by itself, and points links at other policies meanwhile.
  void addByHand(Answer& answer) {
    for (int links = 0; links < 60; ++links) {
      ZrEPLink& link = anyLink();
      ZrRule* const rule = link.m_pPolicy->getRuleByDateTime();
      if (rule == nullptr) continue;
      answer.asked.set.addResult(&link, rule);
      answer.expect(&link);
      anyLink().m_pPolicy = anyLink().m_pPolicy;
    }
  }
  void compare(int answers, bool disturbed = false) {
    Answer answer(cache);
    for (; answers > 0; --answers) {
      for (std::uint32_t questions = 1 + below(1U << below(6)); questions > 0; --questions) {
        if (disturbed && below(4) == 0) disturb(answer);
        if (disturbed && below(8) == 0) addByHand(answer);
        ask(answer);
        ASSERT_EQ(answer.asked.links(), answer.expected());
      }
      answer.asked.set.cleanup();
      answer.asked.set.setRefInfo(&cache, cache.m_generation);
      answer.held.clear();
    }
  }
  // Takes a link out of its container and out of the model, behind the cache's back.
  void removeLinkByHand() {
    ZrEPLink* const link = &anyLink();
    for (auto* map : {&cache.m_mapUser, &cache.m_mapGroup, &cache.m_mapHostname, &cache.m_mapOther})
      std::erase_if(*map, [link](const auto& element) { return element.second == link; });
    std::erase_if(cache.m_mapIp, [link](const auto& element) { return element.second == link; });
    std::erase(cache.m_vecIpRange, link);
    std::erase_if(entries, [link](const Entry& entry) { return entry.link == link; });
    delete link;
  }

  std::mt19937 random;
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
    for (Entry& entry : entries) {
      if (entry.type != ZrPolicyCache::IP_RANGE || below(4) != 0) continue;
      setKey(entry);
      entry.link->convertIP();
    }
    cache.reindex();
    compare(10);
  }
  cache.purgeEPLinkList();
  entries.clear();
  addLinks(200);
  compare(10);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Model, testing::Values(1U, 2U));

}  // namespace
