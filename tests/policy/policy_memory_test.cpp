#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <utility>

#include "policy/policy_objects.h"
#include "support/PolicyLog.h"

// Every allocation of an operation fails once: what is thrown, who owns what, and whether anything is left behind.

namespace {

long g_failAt = 0;  // counts down; the allocation that reaches 0 fails
long g_blocks = 0;  // not yet freed

void* allocate(std::size_t size) noexcept {
  if (g_failAt > 0 && --g_failAt == 0) return nullptr;
  void* const block = std::malloc(size);
  if (block != nullptr) ++g_blocks;
  return block;
}

void release(void* block) noexcept {
  if (block != nullptr) --g_blocks;
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  void* const block = allocate(size);
  return block != nullptr ? block : throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void operator delete(void* block) noexcept {
  release(block);
}
void operator delete[](void* block) noexcept {
  release(block);
}
void operator delete(void* block, std::size_t) noexcept {
  release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  release(block);
}

namespace {

using zrtest::newLink;
using zrtest::thrownBy;

std::string g_longKey(5000, 'X');
const std::string kLong(40, 'x');  // longer than what a string holds without allocation

// Runs `operation` with its first allocation failing, its second, and so on until nothing fails; checks each failure's
// text, that the cache still answers, and that no memory is left behind. Answers how often it failed.
int failEach(const std::string& text, const std::function<void(ZrPolicyCache&)>& operation) {
  PolicyLog::ms_level = 0;
  for (int n = 1;; ++n) {
    const long before = g_blocks;
    bool failed = false;
    {
      ZrPolicyCache cache;
      zrtest::addPolicies(cache, 99);
      // Right before the indexes' tables grow.
      for (int i = 0; i < 12; ++i) {
        for (const int type : {1, 2, 3, 6})
          cache.addEPLink(newLink(static_cast<ZrEntityType>(type), "n" + std::to_string(i), i + 1));
        cache.addEPLink(newLink(ZrPolicyCache::IP, "10.0.0." + std::to_string(i), i + 1));
      }
      for (int i = 0; i < 63; ++i)
        cache.addEPLink(newLink(ZrPolicyCache::IP_RANGE, "10.0.0.0 ~ 10.0.0." + std::to_string(i), i + 1));
      const std::string thrown = thrownBy([&] {
        g_failAt = n;
        operation(cache);
      });
      failed = g_failAt == 0;
      g_failAt = 0;
      EXPECT_TRUE(thrown == "nothing" || thrown == text) << n << ": " << thrown;
      // Whatever failed, the cache answers.
      EXPECT_EQ(zrtest::Asked(cache).key(ZrPolicyCache::USER, "n5").policies(), (std::vector{6}));
      EXPECT_EQ(zrtest::Asked(cache).range("10.0.0.62").policies().front(), 63);
    }
    EXPECT_EQ(g_blocks, before) << "blocks left behind";
    if (!failed) return n - 1;
  }
}

class OutOfMemory : public testing::TestWithParam<int> {};

TEST_P(OutOfMemory, RefusedLinkIsNotFiledAndStaysTheCallers) {
  const auto type = static_cast<ZrEntityType>(GetParam());
  const bool range = type == ZrPolicyCache::IP_RANGE;
  const std::string name = type == ZrPolicyCache::IP ? "10.0.1.1" : range ? "10.0.1.1 ~ 10.0.1.9" : kLong;
  const int failures = failEach(range ? "const char*: Failed to add pEPLink into m_vecIpRange"
                                      : "const char*:  ZrPolicyCache::addEPLink(), std::bad_alloc",
                                [&](ZrPolicyCache& cache) {
                                  const long failAt = std::exchange(g_failAt, 0);
                                  std::unique_ptr<ZrEPLink> link(newLink(type, name, 1));
                                  cache.m_vecIpRange.shrink_to_fit();
                                  g_failAt = failAt;
                                  cache.addEPLink(link.get());
                                  (void)link.release();
                                });
  EXPECT_GE(failures, range ? 1 : 2);
}

INSTANTIATE_TEST_SUITE_P(Types, OutOfMemory, testing::Range(1, 7));

TEST(OutOfMemory, RefusedPolicyStaysTheCallers) {
  EXPECT_EQ(failEach("const char*: ZrPolicyCache::addPolicy(), std::bad_alloc",
                     [](ZrPolicyCache& cache) {
                       const long failAt = std::exchange(g_failAt, 0);
                       std::unique_ptr<ZrPolicy> policy(zrtest::newPolicy(1000, true, true));
                       g_failAt = failAt;
                       cache.addPolicy(policy.get());
                       (void)policy.release();
                     }),
            1);
}

TEST(OutOfMemory, ReindexFallsBackToPlainSearch) {
  EXPECT_GE(failEach("", [](ZrPolicyCache& cache) { cache.reindex(); }), 6);
}

// Ranges for 63 policies: a table of IDs in the set, and places beyond those of the stack.
TEST(OutOfMemory, LookupKeepsWhatItAddedAndSaysWhatWasAsked) {
  EXPECT_GE(failEach("const char*: Failed to allocate resource for ZrPolicyResult",
                     [](ZrPolicyCache& cache) { zrtest::Asked(cache).range("10.0.0.0"); }),
            2 * 63);
  EXPECT_GE(failEach("char*: ZrPolicyCache::lookupRule() unknow error, iType:[1], pszKey:[n3]",
                     [](ZrPolicyCache& cache) { zrtest::Asked(cache).key(ZrPolicyCache::USER, "N3"); }),
            2);
  EXPECT_GE(failEach("char*: ZrPolicyCache::lookupAllPolicy() unknow error",
                     [](ZrPolicyCache& cache) {
                       zrtest::Asked asked(cache);
                       cache.lookupAllPolicy(&asked.set);
                     }),
            2 * 12);
  EXPECT_EQ(failEach("bad_alloc",
                     [](ZrPolicyCache& cache) {
                       zrtest::Asked asked(cache);
                       cache.lookupPolicy(ZrPolicyCache::GROUP, g_longKey.data(), &asked.set);
                     }),
            1);
}

}  // namespace
