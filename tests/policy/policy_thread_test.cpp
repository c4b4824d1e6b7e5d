#include <gtest/gtest.h>
#include <thread>

#include "policy/policy_objects.h"
#include "support/PolicyLog.h"

namespace {

// One thread's share: the same questions as all others, answers known by construction.
void ask(ZrPolicyCache& cache, int& wrong) {
  for (int i = 0; i < 300; ++i) {
    const std::string number = std::to_string(i % 50);
    zrtest::Asked asked(cache);
    asked.key(ZrPolicyCache::USER, "USER" + number).key(ZrPolicyCache::IP, "10.0.0." + number);
    asked.range("10.1.0." + number);
    cache.lookupAllPolicy(&asked.set);
    const std::string thrown = zrtest::thrownBy([&] { asked.key(ZrPolicyCache::IP, "no" + number); });
    if (asked.policies().size() != 100U || !thrown.ends_with("[no" + number + "]")) ++wrong;
  }
}

TEST(PolicyThreads, LookupsOfOneCacheDoNotDisturbOneAnother) {
  PolicyLog::ms_level = 0;
  ZrPolicyCache cache;
  zrtest::addPolicies(cache, 100);
  for (int i = 0; i < 200; ++i) {
    const std::string number = std::to_string(i % 50);
    cache.addEPLink(zrtest::newLink(ZrPolicyCache::USER, "user" + number, i % 50 + 1));
    cache.addEPLink(zrtest::newLink(ZrPolicyCache::IP, "10.0.0." + number, i % 100 + 1));
    cache.addEPLink(zrtest::newLink(ZrPolicyCache::IP_RANGE, "10.1.0.0 ~ 10.1.0." + number, i % 100 + 1));
    cache.addEPLink(zrtest::newLink(ZrPolicyCache::OTHER, "other" + number, i % 100 + 1));
  }
  cache.m_mapIp.emplace(0, nullptr);  // by hand: this one is searched without its index
  int wrong[4] = {};
  std::vector<std::thread> threads;
  for (int& count : wrong)
    threads.emplace_back([&cache, &count] { ask(cache, count); });
  for (std::thread& thread : threads)
    thread.join();
  for (const int count : wrong)
    EXPECT_EQ(count, 0);
}

}  // namespace
