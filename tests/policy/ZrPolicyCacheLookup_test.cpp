#include <gmock/gmock.h>

#include "common/log_capture.h"
#include "policy/policy_objects.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zrtest::Asked;
using zrtest::thrownBy;

ZrEntityType type(int number) {
  return static_cast<ZrEntityType>(number);
}

class Lookup : public testing::Test {
 protected:
  Lookup() { zrtest::addPolicies(cache, 110); }
  void add(ZrEntityType kind, const std::string& name, int policyId, int priority = 0) {
    cache.addEPLink(zrtest::newLink(kind, name, policyId, priority));
  }

  zrtest::LogCapture log;
  ZrPolicyCache cache;
};

TEST_F(Lookup, KeysAreSearchedInLowerCaseAndHostsInUpperCase) {
  const std::string names[] = {"john", "Mary", "POP3_Mail_Sender", "pop3_mail_sender", std::string(5000, 'x')};
  for (const ZrEntityType kind : {ZrPolicyCache::USER, ZrPolicyCache::GROUP, ZrPolicyCache::OTHER}) {
    for (int i = 0; i < 5; ++i)
      add(kind, names[i], i + 1);
  }
  add(ZrPolicyCache::HOSTNAME, "Relay01", 6);
  add(ZrPolicyCache::HOSTNAME, "pop3_mail_sender", 7);
  add(ZrPolicyCache::IP, "10.0.0.1", 8);
  add(ZrPolicyCache::IP_RANGE, "10.0.0.1", 9);  // ranges have a lookup of their own
  const struct {
    std::vector<int> types;
    std::string key;
    std::vector<int> policies;
  } cases[] = {
      {{1, 2, 6}, "JOHN", {1}},
      {{1, 2, 6}, "Mary", {}},
      {{1, 2, 6}, "POP3_Mail_Sender", {3}},
      {{1, 2, 6}, "POP3_MAIL_Sender", {4}},
      {{1, 2, 6}, std::string(5000, 'X'), {5}},
      {{3}, "rElay01", {6}},
      {{3}, "POP3_Mail_Sender", {7}},
      {{4}, "10.0.0.1", {8}},
      {{4}, "0XA.1", {8}},
      {{4}, "10.0.0.1 ", {8}},
      {{4}, "1.0.0.10", {}},
      {{5}, "10.0.0.1", {}},
  };
  for (const auto& [types, key, policies] : cases) {
    for (const int number : types)
      EXPECT_EQ(Asked(cache).key(type(number), key).policies(), policies) << number << ' ' << key;
  }
}

TEST_F(Lookup, UserLookupTracesEachLinkItVisits) {
  add(ZrPolicyCache::USER, "ann", 1, 5);
  add(ZrPolicyCache::USER, "ann", 102, 1);  // no selected rule
  add(ZrPolicyCache::USER, "ann", 1, 2);
  add(ZrPolicyCache::USER, "ann", 2, 5);
  cache.m_mapUser.emplace("ann", nullptr);
  cache.m_vecIpRange.push_back(nullptr);
  EXPECT_THAT(Asked(cache).range("10.0.0.1").policies(), IsEmpty());  // without a line
  EXPECT_THAT(Asked(cache).key(ZrPolicyCache::USER, "Ann").policies(), ElementsAre(1, 2));
  const std::string prefix = "ZrPolicyCache::lookupPolicy()", find = prefix + " find POP3 object.",
                    none = prefix + " isn't POP3 object.";
  EXPECT_THAT(log.texts(4),
              ElementsAre("Enter " + prefix + ", type=1, key=Ann", find, none, find, find, none, "Leave " + prefix));
}

TEST_F(Lookup, ParametersThatAreNoQuestionAreLoggedAndNothingElse) {
  ZrPolicyResultSet set;
  char key[] = "k";
  char empty[] = "";
  cache.lookupPolicyIpRange(nullptr, &set);
  cache.lookupPolicyIpRange(empty, &set);
  cache.lookupPolicyIpRange(key, nullptr);
  cache.lookupPolicy(ZrPolicyCache::DEFAULT, key, &set);
  cache.lookupPolicy(type(99), nullptr, &set);
  cache.lookupPolicy(ZrPolicyCache::USER, empty, &set);
  cache.lookupPolicy(ZrPolicyCache::USER, key, nullptr);
  cache.lookupAllPolicy(nullptr);
  const std::string enter = "Enter ZrPolicyCache::lookupPolicy(), type=", all = "ZrPolicyCache::lookupAllPolicy() ";
  EXPECT_THAT(log.texts(4), ElementsAre(enter + "0, key=k", enter + "99, key=(null)",
                                        enter + "1, key=", enter + "1, key=k", all + "...\n"));
  const std::string error = "[ERROR]ZrPolicyCache::lookupPolicy() query parameter error.";
  EXPECT_THAT(log.texts(1), ElementsAre(error, error, error, error, all + "query parameter error\n"));
}

TEST_F(Lookup, QuestionsThatFailSayWhatWasAsked) {
  add(ZrPolicyCache::USER, "ann", 1);
  add(ZrPolicyCache::USER, "ann", 2);
  cache.addPolicy(zrtest::newPolicy(500, true, true));
  Asked asked(cache);
  Asked unbound(cache);  // takes one result, fails at the next
  unbound.set.setRefInfo(nullptr, 0);
  const std::string unknown = "char*: ZrPolicyCache::lookupRule() unknow error, iType:[";
  const std::pair<std::string, std::string> cases[] = {
      {thrownBy([&] { asked.key(type(7), "k"); }), "char*: Unknow entity type [7]"},
      {thrownBy([&] { asked.key(type(-2147483647 - 1), "k"); }), "char*: Unknow entity type [-2147483648]"},
      {thrownBy([&] { asked.key(ZrPolicyCache::IP, "255.255.255.255"); }), unknown + "4], pszKey:[255.255.255.255]"},
      {thrownBy([&] { asked.key(ZrPolicyCache::IP, std::string(300, 'x')); }),
       (unknown + "4], pszKey:[" + std::string(300, 'x')).substr(0, 255 + std::string("char*: ").size())},
      {thrownBy([&] { asked.range("bogus"); }), "const char*: Invalid IP address"},
      {thrownBy([&] { unbound.key(ZrPolicyCache::USER, "ANN"); }), unknown + "1], pszKey:[ann]"},
      {thrownBy([&] { cache.getDefaultPolicy(&unbound.set); }), "const char*: policy ID is not available anymore"},
      {thrownBy([&] { cache.lookupAllPolicy(&unbound.set); }), "char*: ZrPolicyCache::lookupAllPolicy() unknow error"},
  };
  for (const auto& [thrown, expected] : cases)
    EXPECT_EQ(thrown, expected);
  EXPECT_EQ(unbound.set.m_setResult.size(), 1U);
  for (const std::string& line : log.texts(4))
    EXPECT_FALSE(line.starts_with("Leave")) << line;
}

TEST_F(Lookup, AllIsUsersThenGroupsThenOthersByKey) {
  const std::tuple<int, const char*, int> links[] = {{6, "a", 1}, {2, "b", 2},        {2, "a", 3},
                                                     {1, "b", 4}, {1, "B", 5},        {1, "c", 102},
                                                     {3, "a", 6}, {4, "10.0.0.1", 7}, {5, "10.0.0.1 ~ 10.0.0.9", 8}};
  for (const auto& [kind, name, policyId] : links)
    add(type(kind), name, policyId);
  Asked asked(cache);
  cache.lookupAllPolicy(&asked.set);
  EXPECT_THAT(asked.policies(), ElementsAre(5, 4, 3, 2, 1));
  const std::string all = "ZrPolicyCache::lookupAllPolicy() ", find = all + "find POP3 object\n";
  EXPECT_THAT(log.texts(4), ElementsAre(all + "...\n", all + "type is USER\n", find, find, all + "isn't POP3 object\n",
                                        all + "type is GROUP\n", all + "type is OTHER\n"));
}

}  // namespace
