#include <gmock/gmock.h>

#include "common/log_capture.h"
#include "policy/policy_objects.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zrtest::Asked;
using zrtest::newLink;
using zrtest::thrownBy;

ZrEntityType type(int number) {
  return static_cast<ZrEntityType>(number);
}

class Lookup : public testing::Test {
 protected:
  Lookup() { zrtest::addPolicies(cache, 110); }
  void add(ZrEntityType kind, const std::string& name, int policyId, int priority = 0) {
    cache.addEPLink(newLink(kind, name, policyId, priority));
  }
  std::vector<int> found(ZrEntityType kind, const std::string& key) { return Asked(cache).key(kind, key).policies(); }

  zrtest::LogCapture log;
  ZrPolicyCache cache;
};

TEST_F(Lookup, KeysAreSearchedInLowerCaseAndHostsInUpperCase) {
  for (const ZrEntityType kind : {ZrPolicyCache::USER, ZrPolicyCache::GROUP, ZrPolicyCache::OTHER}) {
    add(kind, "john", 1);
    add(kind, "Mary", 2);
    add(kind, "POP3_Mail_Sender", 3);
    add(kind, "pop3_mail_sender", 4);
    add(kind, std::string(5000, 'x'), 5);
    const std::pair<std::string, int> cases[] = {
        {"JOHN", 1}, {"POP3_Mail_Sender", 3}, {"POP3_MAIL_Sender", 4}, {std::string(5000, 'X'), 5}};
    for (const auto& [key, policyId] : cases)
      EXPECT_THAT(found(kind, key), ElementsAre(policyId));
    EXPECT_THAT(found(kind, "Mary"), IsEmpty());
  }
  add(ZrPolicyCache::HOSTNAME, "Relay01", 6);
  add(ZrPolicyCache::HOSTNAME, "pop3_mail_sender", 7);
  EXPECT_THAT(found(ZrPolicyCache::HOSTNAME, "rElay01"), ElementsAre(6));
  EXPECT_THAT(found(ZrPolicyCache::HOSTNAME, "POP3_Mail_Sender"), ElementsAre(7));
  add(ZrPolicyCache::IP_RANGE, "10.0.0.1", 7);
  EXPECT_THAT(found(ZrPolicyCache::IP_RANGE, "10.0.0.1"), IsEmpty());  // ranges have a lookup of their own
  add(ZrPolicyCache::IP, "10.0.0.1", 8);
  for (const char* key : {"10.0.0.1", "0XA.1", "10.0.0.1 "})
    EXPECT_THAT(found(ZrPolicyCache::IP, key), ElementsAre(8));
  EXPECT_THAT(found(ZrPolicyCache::IP, "1.0.0.10"), IsEmpty());
}

TEST_F(Lookup, UserLookupTracesEachLinkItVisits) {
  add(ZrPolicyCache::USER, "ann", 1, 5);
  add(ZrPolicyCache::USER, "ann", 102, 1);  // no selected rule
  add(ZrPolicyCache::USER, "ann", 1, 2);
  add(ZrPolicyCache::USER, "ann", 2, 5);
  cache.m_mapUser.emplace("ann", nullptr);
  cache.m_vecIpRange.push_back(nullptr);
  EXPECT_THAT(Asked(cache).range("10.0.0.1").policies(), IsEmpty());  // without a line
  EXPECT_THAT(found(ZrPolicyCache::USER, "Ann"), ElementsAre(1, 2));
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
  Asked asked(cache);
  const std::string unknown = "char*: ZrPolicyCache::lookupRule() unknow error, iType:[4], pszKey:[";
  EXPECT_EQ(thrownBy([&] { asked.key(type(7), "k"); }), "char*: Unknow entity type [7]");
  EXPECT_EQ(thrownBy([&] { asked.key(type(-2147483647 - 1), "k"); }), "char*: Unknow entity type [-2147483648]");
  EXPECT_EQ(thrownBy([&] { asked.key(ZrPolicyCache::IP, "255.255.255.255"); }), unknown + "255.255.255.255]");
  const std::string cut = (unknown + std::string(300, 'x')).substr(0, 255 + std::string("char*: ").size());
  EXPECT_EQ(thrownBy([&] { asked.key(ZrPolicyCache::IP, std::string(300, 'x')); }), cut);
  EXPECT_EQ(thrownBy([&] { asked.range("bogus"); }), "const char*: Invalid IP address");
  EXPECT_EQ(log.texts(4).size(), 4U);  // the entry lines, no exit line
}

TEST_F(Lookup, UnboundSetTakesOneResultAndFailsAtTheNext) {
  add(ZrPolicyCache::USER, "ann", 1);
  add(ZrPolicyCache::USER, "ann", 2);
  cache.addPolicy(zrtest::newPolicy(500, true, true));
  ZrPolicyResultSet set;
  char user[] = "ANN";
  EXPECT_EQ(thrownBy([&] { cache.lookupPolicy(ZrPolicyCache::USER, user, &set); }),
            "char*: ZrPolicyCache::lookupRule() unknow error, iType:[1], pszKey:[ann]");
  EXPECT_EQ(set.m_setResult.size(), 1U);
  EXPECT_EQ(thrownBy([&] { cache.getDefaultPolicy(&set); }), "const char*: policy ID is not available anymore");
  EXPECT_EQ(thrownBy([&] { cache.lookupAllPolicy(&set); }), "char*: ZrPolicyCache::lookupAllPolicy() unknow error");
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
