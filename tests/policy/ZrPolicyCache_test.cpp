#include "policy/ZrPolicyCache.h"

#include <climits>
#include <gmock/gmock.h>
#include <set>
#include <tuple>

#include "policy/policy_objects.h"

namespace {

using testing::ElementsAre;
using zrtest::newLink;
using zrtest::newPolicy;
using zrtest::TestRule;
using zrtest::thrownBy;

TEST(ZrPolicyCache, DefaultPolicyIsAlsoAPolicyLikeAnyOther) {
  ZrPolicyCache cache;
  EXPECT_EQ(cache.m_defaultLink.m_pPolicy, nullptr);
  EXPECT_FALSE(cache.hasPolicyContainLDAPSetting());
  ZrPolicy* const first = newPolicy(7, true, true);
  cache.addPolicy(first);
  ZrPolicy* const second = newPolicy(8, true, true);
  second->m_vecRule.push_back(new TestRule(1, true));
  cache.addPolicy(second);
  EXPECT_THAT(cache.m_mapPolicy, ElementsAre(std::pair(7, first), std::pair(8, second)));
  EXPECT_TRUE(cache.hasPolicyContainLDAPSetting());
  const ZrEPLink& link = cache.m_defaultLink;
  EXPECT_EQ(std::tie(link.m_pPolicy, link.m_policyId, link.m_entityName), std::tuple(second, 8, "Default Policy"));
  EXPECT_EQ(std::tie(link.m_priority, link.m_entityType), std::tuple(INT_MAX, ZrPolicyCache::DEFAULT));
  // One that is refused changes nothing.
  const std::unique_ptr<ZrPolicy> again(newPolicy(7, true, true));
  EXPECT_EQ(thrownBy([&] { cache.addPolicy(again.get()); }),
            "const char*: Failed to insert Policy object into m_mapPolicy");
  EXPECT_EQ(cache.m_defaultLink.m_pPolicy, second);
}

TEST(ZrPolicy, RulesAreAskedFrontToBackUntilOneAnswers) {
  ZrPolicy policy;
  auto* first = new TestRule(5);
  auto* second = new TestRule(247, true);
  auto* third = new TestRule(247, true);
  policy.m_vecRule = {first, second, third};
  EXPECT_EQ(policy.getRuleByDateTime(), second);
  EXPECT_TRUE(policy.hasRuleContainLDAPSetting());
  policy.logPolicySummary();
  EXPECT_EQ(std::tuple(first->asked, second->asked, third->asked, third->logged), std::tuple(1, 1, 0, 1));
  EXPECT_TRUE(policy.getFirstRule() == nullptr && policy.getNextRule() == nullptr);
}

TEST(ZrPolicyCache, RefusedLinkStaysTheCallers) {
  ZrPolicyCache cache;
  cache.addPolicy(newPolicy(1));
  EXPECT_EQ(thrownBy([&] { cache.addEPLink(nullptr); }), "const char*: NULL pEPLink link pointer");
  const struct {
    int type;
    const char* name;
    int policyId;
    const char* thrown;
  } cases[] = {
      {1, "u", 42, "char*: PolicyID is not valid [42]"},
      {0, "u", INT_MIN, "char*: PolicyID is not valid [-2147483648]"},
      {0, "u", 1, "const char*: Unknow entity type"},
      {7, "u", 1, "const char*: Unknow entity type"},
      {4, "", 1, "const char*: Empty string without IP address value"},
      {5, "x", 1, "const char*: Invalid IP address - 1"},
  };
  for (const auto& tried : cases) {
    const std::unique_ptr<ZrEPLink> link(newLink(static_cast<ZrEntityType>(tried.type), tried.name, tried.policyId));
    EXPECT_EQ(thrownBy([&] { cache.addEPLink(link.get()); }), tried.thrown);
    EXPECT_EQ(link->m_pPolicy, tried.policyId == 1 ? cache.m_mapPolicy.at(1) : nullptr);
  }
  EXPECT_TRUE(cache.m_vecIpRange.empty() && cache.m_mapIp.empty());
}

TEST(ZrPolicyCache, LinkIsFiledByItsType) {
  ZrPolicyCache cache;
  cache.addPolicy(newPolicy(1));
  ZrEPLink* const user = newLink(ZrPolicyCache::USER, "Ren&#233;", 1);
  ZrEPLink* const host = newLink(ZrPolicyCache::HOSTNAME, "Mailhost-7", 1);
  ZrEPLink* const address = newLink(ZrPolicyCache::IP, "10.0.0.1 ~ 10.0.0.9", 1);
  for (ZrEPLink* link : {user, host, address, newLink(ZrPolicyCache::GROUP, "&#66;&#233;", 1),
                         newLink(ZrPolicyCache::OTHER, "Alpha", 1), newLink(ZrPolicyCache::OTHER, "ALPHA", 1)})
    cache.addEPLink(link);
  using testing::Key;
  EXPECT_THAT(cache.m_mapUser, ElementsAre(Key("Ren\xC3\xA9")));
  EXPECT_EQ(user->m_entityName, "Ren&#233;");
  EXPECT_THAT(cache.m_mapGroup, ElementsAre(Key("&#66;&#233;")));
  EXPECT_THAT(cache.m_mapHostname, ElementsAre(Key("MAILHOST-7")));
  EXPECT_EQ(host->m_entityName, "MAILHOST-7");
  EXPECT_THAT(cache.m_mapOther, ElementsAre(Key("ALPHA"), Key("Alpha")));
  EXPECT_THAT(cache.m_mapIp, ElementsAre(std::pair(address->m_ipFrom, address)));
}

TEST(ZrPolicyCache, DecodesEntitiesOfTheLatinRangeOrNone) {
  const std::pair<std::string, std::string> cases[] = {
      {"Ren&#233;", "Ren\xC3\xA9"},
      {"x&#128;y&#255;z", "x\xC2\x80y\xC3\xBFz"},
      {"&#8364;", "\xC2\xAC"},
      {"&#233;&#234", "&#233;&#234"},
      {"&# \t+233 dropped;x", "\xC3\xA9x"},
      {"&#-23;", "\xC3\xA9"},
      {"&#99999999999999999999;", "\xC3\xBF"},
      {"&#4294967529;", "\xC3\xBF"},  // cut to 32 bits wherever long is longer
      {"&#-99999999999999999999;", "&#-99999999999999999999;"},
      {"&#233&#234;;", "\xC3\xA9;"},
      {std::string("&#233;\0&#66;", 12), std::string("\xC3\xA9\0&#66;", 8)},
  };
  ZrPolicyCache cache;
  for (const auto& [text, decoded] : cases) {
    std::string given = text;
    EXPECT_EQ(cache.UnescapeLatinHtmlUnicode(given), decoded) << text;
  }
}

// What was deleted, in order, and how often that was met again in the cache.
const ZrPolicyCache* g_cache;
std::vector<std::string> g_deleted;
std::set<const void*> g_gone;
std::size_t g_metAgain;

void noteDeleted(const void* object, const std::string& name) {
  const auto look = [](const auto& map) {
    for (const auto& [key, held] : map)
      g_metAgain += g_gone.count(held);
  };
  look(g_cache->m_mapPolicy);
  look(g_cache->m_mapIp);
  for (const auto* map : {&g_cache->m_mapUser, &g_cache->m_mapGroup, &g_cache->m_mapHostname, &g_cache->m_mapOther})
    look(*map);
  for (const ZrEPLink* link : g_cache->m_vecIpRange)
    g_metAgain += g_gone.count(link);
  g_deleted.push_back(name);
  g_gone.insert(object);
}

struct NotedLink : ZrEPLink {
  ~NotedLink() override { noteDeleted(static_cast<ZrEPLink*>(this), m_entityName); }
};

struct NotedPolicy : ZrPolicy {
  ~NotedPolicy() override { noteDeleted(static_cast<ZrPolicy*>(this), std::to_string(m_policyId)); }
};

TEST(ZrPolicyCache, CleanupDeletesPoliciesThenLinksInTheirOrderWithTheirEntriesAndNothingTwice) {
  ZrPolicyCache cache;
  g_cache = &cache;
  for (const int id : {3, 1, 2}) {
    auto* policy = new NotedPolicy;
    policy->m_policyId = id;
    policy->m_isDefault = id == 2;
    cache.addPolicy(policy);
  }
  for (const char* name : {"6b", "6a", "5b", "5a", "4a", "3a", "2a", "1b", "1a"}) {
    auto* link = new NotedLink;
    link->m_policyId = 1;
    link->m_entityType = static_cast<ZrEntityType>(name[0] - '0');
    const bool address = name[0] == '4' || name[0] == '5';
    link->m_entityName = address ? "10.0.0.1" : name;
    cache.addEPLink(link);
    link->m_entityName = name;
  }
  cache.m_mapUser.emplace("0", nullptr);
  cache.m_vecIpRange.push_back(nullptr);
  cache.m_mapPolicy.emplace(0, nullptr);
  cache.m_generation = 5;
  for (int times = 0; times < 2; ++times) {
    cache.cleanup();
    EXPECT_THAT(g_deleted, ElementsAre("1", "2", "3", "1a", "1b", "2a", "3a", "4a", "5b", "5a", "6a", "6b"));
  }
  EXPECT_EQ(g_metAgain, 0U);
  EXPECT_EQ(cache.m_defaultLink.m_pPolicy, nullptr);
  EXPECT_EQ(cache.m_generation, 5U);
}

}  // namespace
