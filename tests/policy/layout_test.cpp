#include <cstddef>
#include <gmock/gmock.h>

#include "policy/ZrPolicyCache.h"
#include "policy/ZrPolicyResultSet.h"

// Hosts are compiled against these numbers, and hold caches and result sets by value: an object that grows, or a member
// that moves, breaks them in silence. New state goes behind m_pIndex and m_pIds.

// offsetof is meant for classes without virtual operations; the compilers that hosts use support it for these too.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

using Numbers = std::vector<std::size_t>;

// The places of the members in their order, then the size.
void expectLayout(const Numbers& now, const Numbers& on64, const Numbers& on32) {
  EXPECT_EQ(now, sizeof(void*) == 8 ? on64 : on32);
}

#define AT(member) offsetof(Class, member)

TEST(Layout, RuleAndPolicy) {
  expectLayout({offsetof(ZrRule, m_ruleType), sizeof(ZrRule)}, {8, 16}, {4, 8});
  using Class = ZrPolicy;
  expectLayout({AT(m_policyId), AT(m_policyType), AT(m_isDefault), AT(m_reserved), AT(m_policyName), AT(m_vecRule),
                sizeof(Class)},
               {8, 12, 16, 20, 24, 56, 80}, {4, 8, 12, 16, 20, 44, 56});
}

TEST(Layout, Link) {
  using Class = ZrEPLink;
  expectLayout({AT(m_priority), AT(m_entityType), AT(m_policyId), AT(m_entityName), AT(m_ipFrom), AT(m_ipTo),
                AT(m_pPolicy), sizeof(Class)},
               {8, 12, 16, 24, 56, 60, 64, 72}, {4, 8, 12, 16, 40, 44, 48, 52});
}

TEST(Layout, Cache) {
  using Class = ZrPolicyCache;
  expectLayout({AT(m_defaultLink), AT(m_reserved), AT(m_generation), AT(m_mapUser), AT(m_mapGroup), AT(m_mapHostname),
                AT(m_mapOther), AT(m_mapIp), AT(m_vecIpRange), AT(m_mapPolicy), AT(m_pIndex), sizeof(Class)},
               {8, 80, 84, 88, 136, 184, 232, 280, 328, 352, 400, 408},
               {4, 56, 60, 64, 88, 112, 136, 160, 184, 196, 220, 224});
}

TEST(Layout, ResultAndSet) {
  expectLayout({offsetof(ZrPolicyResult, m_pEPLink), offsetof(ZrPolicyResult, m_pRule),
                offsetof(ZrPolicyResult, m_pResultSet), sizeof(ZrPolicyResult)},
               {0, 8, 16, 24}, {0, 4, 8, 12});
  using Class = ZrPolicyResultSet;
  expectLayout(
      {AT(m_setResult), AT(m_itCurrent), AT(m_bRestart), AT(m_refGeneration), AT(m_pCache), AT(m_pIds), sizeof(Class)},
      {8, 72, 80, 84, 88, 96, 104}, {4, 36, 40, 44, 48, 52, 56});
}

}  // namespace
