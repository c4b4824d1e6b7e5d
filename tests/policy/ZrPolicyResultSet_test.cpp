#include "policy/ZrPolicyResultSet.h"

#include <functional>
#include <gmock/gmock.h>

#include "policy/policy_objects.h"

namespace {

using testing::ElementsAre;
using zrtest::thrownBy;

// A cache with a user link of each given priority, for policies 1, 2, 3, ..., and a set bound to it.
struct Filled {
  explicit Filled(const std::vector<int>& priorities) : asked(cache) {
    zrtest::addPolicies(cache, static_cast<int>(priorities.size()));
    for (std::size_t i = 0; i < priorities.size(); ++i) {
      links.push_back(zrtest::newLink(ZrPolicyCache::USER, "u", static_cast<int>(i) + 1, priorities[i]));
      cache.addEPLink(links.back());
    }
  }
  explicit Filled(int count) : Filled(std::vector<int>(static_cast<std::size_t>(count), 1)) {}
  void add(int first, int last) {
    for (int id = first; id <= last; ++id) {
      ZrEPLink* const link = links.at(static_cast<std::size_t>(id) - 1);
      asked.set.addResult(link, link->m_pPolicy->m_vecRule[0]);
    }
  }
  ZrPolicyCache cache;
  std::vector<ZrEPLink*> links;
  zrtest::Asked asked;
};

TEST(ZrPolicyResultSet, ResultsComeByPriorityThenInTheOrderOfAdding) {
  Filled filled({5, 1, 5, 3});
  ZrPolicyResultSet& set = filled.asked.set;
  for (int times = 0; times < 3; ++times) {  // a set used again is as good as new
    EXPECT_EQ(set.getTopPriorityResult(), nullptr);
    EXPECT_EQ(set.getNextResult(), nullptr);
    filled.add(1, 4);
    EXPECT_EQ(set.getNextResult()->getPolicyID(), 2);
    EXPECT_EQ(set.getNextResult()->getPolicyID(), 4);
    EXPECT_THAT(filled.asked.policies(), ElementsAre(2, 4, 1, 3));
    EXPECT_EQ(set.getNextResult(), nullptr);
    set.cleanup();
    EXPECT_EQ(thrownBy([&] { set.getSize(); }), "const char*: The resultset is out of date case 1");
    set.setRefInfo(&filled.cache, 0);
  }
}

TEST(ZrPolicyResultSet, ResultsOfAnotherGenerationAreOutOfReach) {
  Filled filled(200);
  ZrPolicyResultSet& set = filled.asked.set;
  set.addResult(filled.links[0], nullptr);
  ZrPolicyResult* const result = set.getTopPriorityResult();
  EXPECT_EQ(thrownBy([&] { result->getRule(); }), "const char*: Rule object is not available anymore");
  EXPECT_EQ(result->getPolicyID(), 1);
  for (const int size : {1, 20, 100}) {
    filled.add(1, size);
    ++filled.cache.m_generation;
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
        {[&] { filled.add(150, 150); }, "policy ID is not available anymore"},
        {[&] { filled.add(1, 1); }, "policy ID is not available anymore"},
    };
    for (const auto& [operation, text] : cases)
      EXPECT_EQ(thrownBy(operation), std::string("const char*: ") + text);
    --filled.cache.m_generation;
    EXPECT_EQ(set.getSize(), static_cast<std::size_t>(size));
  }
}

// The result of the default policy, and one of a link that a host points at another policy, are for the new policy.
TEST(ZrPolicyResultSet, NewPolicyOfALinkIsNotAnsweredTwice) {
  for (const int others : {2, 20, 40, 60, 200}) {
    Filled filled(others + 1);
    filled.cache.addPolicy(zrtest::newPolicy(1000, true, true));
    filled.add(1, others);  // all of priority 1
    filled.cache.getDefaultPolicy(&filled.asked.set);
    filled.cache.addPolicy(zrtest::newPolicy(2000, true, true));
    filled.links[0]->m_pPolicy = filled.links[static_cast<std::size_t>(others)]->m_pPolicy;
    for (const int id : {2000, 1000, others + 1, 1})
      filled.cache.addEPLink(zrtest::newLink(ZrPolicyCache::OTHER, "o", id, id));
    std::vector<int> expected{others + 1};
    for (int id = 2; id <= others; ++id)
      expected.push_back(id);
    expected.insert(expected.end(), {1, 1000, 2000});
    EXPECT_EQ(filled.asked.key(ZrPolicyCache::OTHER, "o").policies(), expected);
  }
}

}  // namespace
