#include "policy/ZrPolicyResultSet.h"

#include <climits>
#include <functional>
#include <gmock/gmock.h>

#include "policy/policy_objects.h"

namespace {

using testing::ElementsAre;
using zrtest::thrownBy;

// A cache with a user link of each given priority, for policies 1, 2, 3, ...; the links in that order.
struct Filled {
  explicit Filled(const std::vector<int>& priorities) {
    zrtest::addPolicies(cache, static_cast<int>(priorities.size()));
    for (std::size_t i = 0; i < priorities.size(); ++i) {
      links.push_back(zrtest::newLink(ZrPolicyCache::USER, "u", static_cast<int>(i) + 1, priorities[i]));
      cache.addEPLink(links.back());
    }
  }
  void addTo(ZrPolicyResultSet& set) {
    for (ZrEPLink* link : links)
      set.addResult(link, link->m_pPolicy->m_vecRule[0]);
  }
  ZrPolicyCache cache;
  std::vector<ZrEPLink*> links;
};

TEST(ZrPolicyResultSet, ResultsComeByPriorityThenInTheOrderOfAdding) {
  Filled filled({5, 1, 5, 3});
  zrtest::Asked asked(filled.cache);
  EXPECT_EQ(asked.set.getTopPriorityResult(), nullptr);
  EXPECT_EQ(asked.set.getNextResult(), nullptr);
  filled.addTo(asked.set);
  EXPECT_EQ(asked.set.getNextResult()->getPolicyID(), 2);
  EXPECT_EQ(asked.set.getNextResult()->getPolicyID(), 4);
  EXPECT_THAT(asked.policies(), ElementsAre(2, 4, 1, 3));
  EXPECT_EQ(asked.set.getNextResult(), nullptr);
}

TEST(ZrPolicyResultSet, ResultsOfAnotherGenerationAreOutOfReach) {
  Filled filled(std::vector<int>(30, 1));
  zrtest::Asked asked(filled.cache);
  ZrPolicyResultSet& set = asked.set;
  set.addResult(filled.links[0], nullptr);
  ZrPolicyResult* const result = set.getTopPriorityResult();
  EXPECT_EQ(thrownBy([&] { result->getRule(); }), "const char*: Rule object is not available anymore");
  for (const std::size_t size : {1U, 20U}) {  // few results are walked, many are kept in a table
    for (std::size_t i = 1; i < size; ++i)
      set.addResult(filled.links[i], filled.links[i]->m_pPolicy->m_vecRule[0]);
    ++filled.cache.m_generation;
    EXPECT_FALSE(set.isDataOK());
    using Operation = std::function<void()>;
    const std::pair<Operation, const char*> cases[] = {
        {[&] { set.getSize(); }, "The resultset is out of date case 1"},
        {[&] { set.getNextResult(); }, "The resultset is out of date case 2"},
        {[&] { set.getTopPriorityResult(); }, "The resultset is out of date case 3"},
        {[&] { result->getPolicyType(); }, "Policy type is not available anymore"},
        {[&] { result->getPolicyID(); }, "policy ID is not available anymore"},
        {[&] { result->getPolicyName(); }, "Policy name is not available anymore"},
        {[&] { result->getEntityName(); }, "Entity name is not available anymore"},
        {[&] { result->getEntityType(); }, "Entity type is not available anymore"},
        {[&] { result->getPriority(); }, "Policy priority information is not available anymore"},
        {[&] { result->getRule(); }, "Rule object is not available anymore"},
        {[&] { set.addResult(filled.links[25], nullptr); }, "policy ID is not available anymore"},
    };
    for (const auto& [operation, text] : cases)
      EXPECT_EQ(thrownBy(operation), std::string("const char*: ") + text);
    --filled.cache.m_generation;
    EXPECT_EQ(set.getSize(), size);
  }
  set.cleanup();
  EXPECT_EQ(thrownBy([&] { set.getSize(); }), "const char*: The resultset is out of date case 1");
}

TEST(ZrPolicyResultSet, ResultsRemovedByHandAreNoLongerDuplicates) {
  Filled filled(std::vector<int>(40, 1));
  zrtest::Asked asked(filled.cache);
  filled.addTo(asked.set);
  for (int removed = 0; removed < 5; ++removed) {
    delete *asked.set.m_setResult.begin();
    asked.set.m_setResult.erase(asked.set.m_setResult.begin());
  }
  filled.addTo(asked.set);
  EXPECT_EQ(asked.set.getSize(), 40U);
}

TEST(ZrPolicyResultSet, PolicyIdsOfAnyNumberAreToldApart) {
  ZrPolicyCache cache;
  zrtest::Asked asked(cache);
  std::vector<int> ids{INT_MIN, 0, INT_MAX, -1};
  for (int i = 1; i < 300; ++i)
    ids.push_back(i * 65536);
  for (const int id : ids) {
    cache.addPolicy(zrtest::newPolicy(id));
    for (int twice = 0; twice < 2; ++twice)
      cache.addEPLink(zrtest::newLink(ZrPolicyCache::OTHER, "x", id));
  }
  EXPECT_EQ(asked.key(ZrPolicyCache::OTHER, "x").policies(), ids);
}

TEST(ZrPolicyResultSet, DefaultPolicySortsBehindAndOnlyWhenNotThereYet) {
  Filled filled({7});
  zrtest::Asked asked(filled.cache);
  filled.cache.getDefaultPolicy(&asked.set);  // there is none yet
  ZrPolicy* const byDefault = zrtest::newPolicy(50, true, true);
  filled.cache.addPolicy(byDefault);
  filled.cache.getDefaultPolicy(&asked.set);
  filled.addTo(asked.set);
  filled.cache.getDefaultPolicy(&asked.set);
  EXPECT_THAT(asked.policies(), ElementsAre(1, 50));
  const ZrPolicyResult* const last = *asked.set.m_setResult.rbegin();
  EXPECT_EQ(last->getEntityType(), ZrPolicyCache::DEFAULT);
  EXPECT_STREQ(last->getEntityName(), "Default Policy");
  EXPECT_EQ(last->getPriority(), INT_MAX);
  EXPECT_EQ(last->getRule(), byDefault->m_vecRule[0]);
}

}  // namespace
