// How much the cache's own indexes save against the plain search of its containers: both are asked the same questions
// in turn, in one run, so that the ratio holds on any machine. Counters: ns for one question each way, and plain /
// indexed.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "policy/ZrPolicyCache.h"
#include "policy/ZrPolicyResultSet.h"
#include "support/PolicyLog.h"

namespace {

constexpr int kPolicies = 1000;
constexpr int kQuestions = 1000;

class Rule : public ZrRule {
 public:
  Rule() { m_ruleType = 247; }
  int getRuleId() const override { return 1; }
  const char* getRuleName() const override { return "rule"; }
  bool containLDAPSetting() override { return false; }
  void logRuleSummary() override {}
};

void addPolicies(ZrPolicyCache& cache) {
  for (int id = 1; id <= kPolicies; ++id) {
    auto policy = std::make_unique<ZrPolicy>();
    policy->m_policyId = id;
    policy->m_vecRule.push_back(new Rule);
    cache.addPolicy(policy.release());
  }
}

void addLink(ZrPolicyCache& cache, ZrPolicyCache::EntityType type, const std::string& name, int number) {
  auto link = std::make_unique<ZrEPLink>();
  link->m_entityType = type;
  link->m_entityName = name;
  link->m_policyId = 1 + number % kPolicies;
  link->m_priority = number;
  cache.addEPLink(link.release());
}

std::string userName(std::uint32_t number) {
  return "user" + std::to_string(number) + "@example.org";
}

std::string address(std::uint32_t hostOrder) {
  const in_addr number{htonl(hostOrder)};
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &number, text, sizeof text);
}

double nanosecondsFor(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
  return taken.count() / kQuestions;
}

// An element more than the indexes know of makes the cache search the container as it stands.
template <typename Ask>
void compare(benchmark::State& state, ZrPolicyCache& cache, const Ask& ask) {
  ZrPolicyResultSet answer;
  const auto askAll = [&] {
    for (int question = 0; question < kQuestions; ++question) {
      answer.setRefInfo(&cache, cache.m_generation);
      ask(question, answer);
      answer.cleanup();
    }
  };
  double indexed = 0;
  double plain = 0;
  while (state.KeepRunning()) {
    indexed += nanosecondsFor(askAll);
    const auto added = cache.m_mapUser.emplace("", nullptr);
    cache.m_vecIpRange.push_back(cache.m_vecIpRange.empty() ? nullptr : cache.m_vecIpRange.back());
    plain += nanosecondsFor(askAll);
    cache.m_vecIpRange.pop_back();
    cache.m_mapUser.erase(added);
  }
  const double runs = static_cast<double>(state.iterations());
  state.counters["indexed_ns"] = indexed / runs;
  state.counters["plain_ns"] = plain / runs;
  state.counters["plain/indexed"] = plain / indexed;
}

void userAmong(benchmark::State& state) {
  ZrPolicyCache cache;
  addPolicies(cache);
  const auto links = static_cast<int>(state.range(0));
  for (int i = 0; i < links; ++i)
    addLink(cache, ZrPolicyCache::USER, userName(static_cast<std::uint32_t>(i)), i);
  std::mt19937 random(1);
  std::vector<std::string> keys;
  keys.reserve(kQuestions);
  for (int i = 0; i < kQuestions; ++i)
    keys.push_back(userName(random() % static_cast<std::uint32_t>(links)));
  compare(state, cache, [&](int question, ZrPolicyResultSet& answer) {
    cache.lookupPolicy(ZrPolicyCache::USER, keys[static_cast<std::size_t>(question)].data(), &answer);
  });
}
BENCHMARK(userAmong)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void addressAmongRanges(benchmark::State& state) {
  ZrPolicyCache cache;
  addPolicies(cache);
  std::mt19937 random(2);
  for (int i = 0; i < state.range(0); ++i) {
    const std::uint32_t first = random() % 0xF0000000U;
    addLink(cache, ZrPolicyCache::IP_RANGE, address(first) + " ~ " + address(first + random() % 4096), i);
  }
  std::vector<std::string> keys;
  keys.reserve(kQuestions);
  for (int i = 0; i < kQuestions; ++i)
    keys.push_back(address(random() % 0xF0000000U));
  compare(state, cache, [&](int question, ZrPolicyResultSet& answer) {
    cache.lookupPolicyIpRange(keys[static_cast<std::size_t>(question)].data(), &answer);
  });
}
BENCHMARK(addressAmongRanges)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

// A trace that is filtered, against the empty loop around it.
void filteredTrace(benchmark::State& state) {
  while (state.KeepRunning())
    ZR_TRACE("Enter, key=%s", "a key");
}
BENCHMARK(filteredTrace);

}  // namespace

int main(int argc, char** argv) {
  PolicyLog::ms_level = PolicyLog::LEVEL_ERROR;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
