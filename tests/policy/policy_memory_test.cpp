#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <tuple>
#include <utility>

#include "policy/policy_objects.h"
#include "support/PolicyLog.h"

// Every allocation of an operation fails once: what is thrown, who owns what, and whether anything is left behind.

namespace {

long g_failAt = 0;  // counts down; the allocation that reaches 0 fails
long g_blocks = 0;  // not yet freed

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  void* const block = g_failAt > 0 && --g_failAt == 0 ? nullptr : std::malloc(size);
  if (block != nullptr) ++g_blocks;
  return block;
}
void* operator new(std::size_t size) {
  void* const block = operator new(size, std::nothrow);
  return block != nullptr ? block : throw std::bad_alloc();
}
void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
  return operator new(size, nothrow);
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void operator delete(void* block) noexcept {
  if (block != nullptr) --g_blocks;
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}
void operator delete[](void* block) noexcept {
  operator delete(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  operator delete(block);
}

namespace {

using zrtest::Asked;
using zrtest::newLink;
using zrtest::thrownBy;

using Operation = std::function<void(ZrPolicyCache&, Asked&)>;

void fill(ZrPolicyCache& cache) {
  zrtest::addPolicies(cache, 99);
  for (int i = 0; i < 12; ++i) {  // right before the indexes' tables grow
    for (const int type : {1, 2, 3, 6})
      cache.addEPLink(newLink(static_cast<ZrEntityType>(type), "n" + std::to_string(i), i + 1));
    cache.addEPLink(newLink(ZrPolicyCache::IP, "10.0.0." + std::to_string(i), i + 1));
  }
  for (int i = 0; i < 255; ++i)
    cache.addEPLink(newLink(ZrPolicyCache::IP_RANGE, "10.0.0.0 ~ 10.0.0." + std::to_string(i), i % 99 + 1));
  cache.m_vecIpRange.shrink_to_fit();
}

// Runs `operation` with its first allocation failing, its second, and so on until nothing fails; checks each failure's
// text, that the cache still answers, and that no memory is left behind. Answers how often it failed.
int failEach(const std::string& text, const Operation& operation) {
  for (int n = 1;; ++n) {
    const long before = g_blocks;
    bool failed = false;
    {
      ZrPolicyCache cache;
      fill(cache);
      Asked asked(cache);
      g_failAt = n;
      const std::string thrown = thrownBy([&] { operation(cache, asked); });
      failed = std::exchange(g_failAt, 0) == 0;
      EXPECT_TRUE(thrown == "nothing" || thrown == text) << n << ": " << thrown;
      EXPECT_EQ(Asked(cache).key(ZrPolicyCache::USER, "n5").policies(), (std::vector{6}));
      EXPECT_EQ(Asked(cache).range("10.0.0.254").policies().front(), 57);
    }
    EXPECT_EQ(g_blocks, before) << "blocks left behind";
    if (!failed) return n - 1;
  }
}

// Hands an object to the cache, whose allocations alone fail; one that was refused is the caller's to delete.
template <class Object>
void hand(ZrPolicyCache& cache, void (ZrPolicyCache::*add)(Object*), const std::function<Object*()>& make) {
  const long failAt = std::exchange(g_failAt, 0);
  std::unique_ptr<Object> object(make());
  g_failAt = failAt;
  (cache.*add)(object.get());
  (void)object.release();
}

TEST(OutOfMemory, RefusedObjectStaysTheCallersAndAnswersKeepWhatTheyHave) {
  PolicyLog::ms_level = 0;
  std::string longKey(5000, 'X');
  const auto handLink = [](ZrEntityType type, const char* name) {
    return Operation([type, name](ZrPolicyCache& cache, Asked&) {
      hand<ZrEPLink>(cache, &ZrPolicyCache::addEPLink, [&] { return newLink(type, name, 1); });
    });
  };
  const char* const longName = "a name that does not fit into a string without memory of its own";
  const std::string refused = "const char*:  ZrPolicyCache::addEPLink(), std::bad_alloc";
  const std::tuple<std::string, int, Operation> cases[] = {
      {refused, 2, handLink(ZrPolicyCache::USER, longName)},
      {refused, 2, handLink(ZrPolicyCache::GROUP, longName)},
      {refused, 2, handLink(ZrPolicyCache::HOSTNAME, longName)},
      {refused, 2, handLink(ZrPolicyCache::IP, "10.0.1.1")},
      {"const char*: Failed to add pEPLink into m_vecIpRange", 2,
       handLink(ZrPolicyCache::IP_RANGE, "10.0.1.1 ~ 10.0.1.9")},
      {refused, 2, handLink(ZrPolicyCache::OTHER, longName)},
      {"const char*: ZrPolicyCache::addPolicy(), std::bad_alloc", 1,
       [](auto& cache, auto&) {
         hand<ZrPolicy>(cache, &ZrPolicyCache::addPolicy, [] { return zrtest::newPolicy(1000, true, true); });
       }},
      {"", 6, [](auto& cache, auto&) { cache.reindex(); }},
      {"const char*: Failed to allocate resource for ZrPolicyResult", 2 * 99,
       [](auto&, auto& asked) { asked.range("10.0.0.0"); }},
      {"char*: ZrPolicyCache::lookupRule() unknow error, iType:[1], pszKey:[n3]", 2,
       [](auto&, auto& asked) { asked.key(ZrPolicyCache::USER, "N3"); }},
      {"char*: ZrPolicyCache::lookupAllPolicy() unknow error", 2 * 12,
       [](auto& cache, auto& asked) { cache.lookupAllPolicy(&asked.set); }},
      {"bad_alloc", 1,
       [&](auto& cache, auto& asked) { cache.lookupPolicy(ZrPolicyCache::GROUP, longKey.data(), &asked.set); }},
  };
  for (const auto& [text, failures, operation] : cases)
    EXPECT_GE(failEach(text, operation), failures) << text;
}

// Numbers agree again by chance: an addition fails, one result goes by hand, another comes.
TEST(OutOfMemory, ResultsChangedByHandAreNeverMistaken) {
  for (int failing = 1; failing < 5; ++failing) {
    ZrPolicyCache cache;
    zrtest::addPolicies(cache, 20);
    Asked asked(cache);
    for (int id = 1; id < 20; ++id)
      cache.addEPLink(newLink(ZrPolicyCache::OTHER, id < 17 ? "first" : std::to_string(id), id, id));
    asked.key(ZrPolicyCache::OTHER, "first");
    std::string next = "17";
    thrownBy([&] {
      g_failAt = failing;
      cache.lookupPolicy(ZrPolicyCache::OTHER, next.data(), &asked.set);
    });
    g_failAt = 0;
    delete *asked.set.m_setResult.begin();
    asked.set.m_setResult.erase(asked.set.m_setResult.begin());
    EXPECT_EQ(asked.key(ZrPolicyCache::OTHER, "18").key(ZrPolicyCache::OTHER, "first").policies().front(), 1);
  }
}

TEST(OutOfMemory, RangesAreSearchedWithoutAnyHoweverManyMatch) {
  ZrPolicyCache cache;
  zrtest::addPolicies(cache, 1);
  for (int i = 0; i < 1000; ++i)
    cache.addEPLink(newLink(ZrPolicyCache::IP_RANGE, "10.0.0.0 ~ 10.0.0." + std::to_string(i % 200), 1));
  for (std::string address : {"10.0.0.0", "10.0.0.190", "10.0.0.199"}) {
    Asked asked(cache);
    asked.range("10.0.0.0");
    g_failAt = 1;
    cache.lookupPolicyIpRange(address.data(), &asked.set);
    EXPECT_EQ(std::exchange(g_failAt, 0), 1) << address;
  }
}

}  // namespace
