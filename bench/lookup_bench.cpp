// What lookups cost against the plain design (plain_policy.h), compiled with the same flags: both are asked the same
// questions in turn, in one run, so that the ratios hold on any machine. Counters: ns for one question, or for one
// result, each way, and how many times as fast the library is.

#include <algorithm>
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <chrono>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench/plain_policy.h"
#include "policy/ZrPolicyCache.h"
#include "policy/ZrPolicyResultSet.h"
#include "support/PolicyLog.h"

namespace {

class Rule : public ZrRule {
 public:
  Rule() { m_ruleType = kSelectedKind; }
  int getRuleId() const override { return 1; }
  const char* getRuleName() const override { return "rule"; }
  bool containLDAPSetting() override { return false; }
  void logRuleSummary() override {}
};

// Policies 1, 2, ..., of which the last is the default policy, and links, in a cache of each design.
struct Caches {
  explicit Caches(int policies) : policies(policies) {
    for (int id = 1; id <= policies; ++id) {
      auto policy = std::make_unique<ZrPolicy>();
      policy->m_policyId = id;
      policy->m_isDefault = id == policies;
      policy->m_vecRule.push_back(new Rule);
      ours.addPolicy(policy.release());
    }
    plain.m_pDefaultLink = &ours.m_defaultLink;
  }
  ZrEPLink* add(ZrPolicyCache::EntityType type, const std::string& name, int policyId, int priority) {
    auto link = std::make_unique<ZrEPLink>();
    link->m_entityType = type;
    link->m_entityName = name;
    link->m_policyId = policyId;
    link->m_priority = priority;
    ours.addEPLink(link.get());
    plain.addEPLink(link.get());
    return link.release();
  }
  void add(ZrPolicyCache::EntityType type, const std::string& name, int number) {
    add(type, name, 1 + number % policies, number);
  }

  int policies;
  ZrPolicyCache ours;
  plain::Cache plain;
};

std::string userName(std::uint32_t number) {
  return "user" + std::to_string(number) + "@example.org";
}

std::string address(std::uint32_t hostOrder) {
  const in_addr number{htonl(hostOrder)};
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &number, text, sizeof text);
}

template <class Work>
void keepFastest(double& nanoseconds, const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
  nanoseconds = std::min(nanoseconds, taken.count());
}

// Fills a set of each design `times` times in every round, as `ask` says. A set is used again, as hosts do.
template <class Ask>
void compare(benchmark::State& state, Caches& caches, int times, double unitsEach, const Ask& ask) {
  ZrPolicyResultSet oursAnswer;
  plain::ResultSet plainAnswer;
  const auto askAll = [&](auto& cache, auto& answer) {
    for (int question = 0; question < times; ++question) {
      answer.setRefInfo(&cache, cache.m_generation);
      ask(cache, answer, static_cast<std::size_t>(question));
      answer.cleanup();
    }
  };
  double ours = std::numeric_limits<double>::max();
  double plain = ours;
  while (state.KeepRunning()) {
    keepFastest(ours, [&] { askAll(caches.ours, oursAnswer); });
    keepFastest(plain, [&] { askAll(caches.plain, plainAnswer); });
  }
  state.counters["ours_ns"] = ours / times / unitsEach;
  state.counters["plain_ns"] = plain / times / unitsEach;
  state.counters["plain/ours"] = plain / ours;
}

// A lookup that so many links answer, each for one result, in ascending order of priority (1) or in any (0): by the
// lookup, or by a host that adds what it found by itself.
template <bool kByLookup>
void results(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  Caches caches(count);
  std::mt19937 random(3);
  std::vector<int> ids(static_cast<std::size_t>(count));
  std::iota(ids.begin(), ids.end(), 1);
  std::shuffle(ids.begin(), ids.end(), random);
  std::string key = "key";
  std::vector<ZrEPLink*> links;
  for (const int id : ids) {
    const int priority = static_cast<int>(state.range(1) == 1 ? links.size() : random() % 1000000);
    links.push_back(caches.add(ZrPolicyCache::OTHER, key, id, priority));
  }
  compare(state, caches, std::max(1, 10000 / count), count, [&](auto& cache, auto& answer, std::size_t) {
    if constexpr (kByLookup) return cache.lookupPolicy(ZrPolicyCache::OTHER, key.data(), &answer);
    for (ZrEPLink* link : links)
      answer.addResult(link, link->m_pPolicy->m_vecRule[0]);
  });
}
BENCHMARK(results<true>)->ArgsProduct({{3, 10, 30, 100, 1000, 10000}, {0, 1}})->Unit(benchmark::kMillisecond);
BENCHMARK(results<false>)->ArgsProduct({{10, 100, 1000, 10000}, {0, 1}})->Unit(benchmark::kMillisecond);

void userAmong(benchmark::State& state) {
  Caches caches(1000);
  const auto links = static_cast<std::uint32_t>(state.range(0));
  for (std::uint32_t i = 0; i < links; ++i)
    caches.add(ZrPolicyCache::USER, userName(i), static_cast<int>(i));
  std::mt19937 random(1);
  std::vector<std::string> keys(1000);
  std::generate(keys.begin(), keys.end(), [&] { return userName(random() % links); });
  compare(state, caches, 1000, 1, [&](auto& cache, auto& answer, std::size_t question) {
    cache.lookupPolicy(ZrPolicyCache::USER, keys[question].data(), &answer);
  });
}
BENCHMARK(userAmong)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// Ranges, shuffled, of which so many in a thousand hold the address. They have few policies, so that the search is
// seen.
void rangesThatMatch(benchmark::State& state) {
  Caches caches(4);
  const auto ranges = static_cast<std::uint32_t>(state.range(0));
  std::vector<bool> matches(ranges);
  std::fill_n(matches.begin(), ranges * static_cast<std::uint64_t>(state.range(1)) / 1000, true);
  std::mt19937 random(2);
  std::shuffle(matches.begin(), matches.end(), random);
  const std::uint32_t asked = 0x80000000U;
  for (std::uint32_t i = 0; i < ranges; ++i) {
    std::uint32_t first = random() % 0xF0000000U;
    std::uint32_t last = first + static_cast<std::uint32_t>(random() % 4096);
    if (matches[i]) {
      first = random() % asked;
      last = asked + random() % (asked - 1);
    } else if (first < asked && last >= asked) {
      last = first;
    }
    caches.add(ZrPolicyCache::IP_RANGE, address(first) + " ~ " + address(last), static_cast<int>(i));
  }
  if (state.range(2) == 1) caches.ours.reindex();
  std::string key = address(asked);
  compare(state, caches, static_cast<int>(1 + 100000 / ranges), 1,
          [&](auto& cache, auto& answer, std::size_t) { cache.lookupPolicyIpRange(key.data(), &answer); });
}
BENCHMARK(rangesThatMatch)
    ->ArgsProduct({{100, 1000, 10000, 100000}, {0, 5, 10, 20, 50, 100, 200, 500, 1000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

// What a mail server asks about a mail, among 100,000 links, two of each key: some nine results.
void wholeQuestion(benchmark::State& state) {
  constexpr ZrPolicyCache::EntityType kTypes[] = {ZrPolicyCache::USER, ZrPolicyCache::GROUP, ZrPolicyCache::HOSTNAME};
  Caches caches(1000);
  std::mt19937 random(4);
  const auto priority = [&random] { return static_cast<int>(random() % 100000); };
  constexpr std::uint32_t kKeys = 95000 / 8;
  for (std::uint32_t i = 0; i < 2 * kKeys; ++i) {
    for (const ZrPolicyCache::EntityType type : kTypes)
      caches.add(type, userName(i % kKeys), priority());
    caches.add(ZrPolicyCache::IP, address(i % kKeys * 256), priority());
  }
  for (int i = 0; i < 5000; ++i) {
    const std::uint32_t first = random() % (kKeys * 256);
    caches.add(ZrPolicyCache::IP_RANGE, address(first) + " ~ " + address(first + 512), priority());
  }
  std::vector<std::uint32_t> asked(1000);
  std::generate(asked.begin(), asked.end(), [&random] { return random() % kKeys; });
  compare(state, caches, 1000, 1, [&](auto& cache, auto& answer, std::size_t question) {
    std::string name = userName(asked[question]);
    std::string ip = address(asked[question] * 256);
    for (const ZrPolicyCache::EntityType type : kTypes)
      cache.lookupPolicy(type, name.data(), &answer);
    cache.lookupPolicy(ZrPolicyCache::IP, ip.data(), &answer);
    cache.lookupPolicyIpRange(ip.data(), &answer);
    cache.getDefaultPolicy(&answer);
  });
}
BENCHMARK(wholeQuestion)->Unit(benchmark::kMillisecond);

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
