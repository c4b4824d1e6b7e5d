#include <gmock/gmock.h>

#include "common/log_capture.h"
#include "policy/policy_objects.h"
#include "support/PolicyLog.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zrtest::Asked;
using zrtest::newLink;
using zrtest::thrownBy;
using Lines = std::vector<zrtest::LogLine>;

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
  const std::string longKey(5000, 'x');
  for (const ZrEntityType kind : {ZrPolicyCache::USER, ZrPolicyCache::GROUP, ZrPolicyCache::OTHER}) {
    add(kind, "john", 1);
    add(kind, "Mary", 2);
    add(kind, "POP3_Mail_Sender", 3);
    add(kind, "pop3_mail_sender", 4);
    add(kind, longKey, 5);
    const std::pair<std::string, int> cases[] = {
        {"JOHN", 1}, {"POP3_Mail_Sender", 3}, {"POP3_MAIL_Sender", 4}, {std::string(5000, 'X'), 5}};
    for (const auto& [key, policyId] : cases)
      EXPECT_THAT(found(kind, key), ElementsAre(policyId));
    EXPECT_THAT(found(kind, "Mary"), IsEmpty());
    EXPECT_THAT(found(kind, "joh"), IsEmpty());
  }
  add(ZrPolicyCache::HOSTNAME, "Relay01", 6);
  add(ZrPolicyCache::HOSTNAME, "pop3_mail_sender", 7);
  EXPECT_THAT(found(ZrPolicyCache::HOSTNAME, "rElay01"), ElementsAre(6));
  EXPECT_THAT(found(ZrPolicyCache::HOSTNAME, "POP3_Mail_Sender"), ElementsAre(7));
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
  EXPECT_THAT(found(ZrPolicyCache::USER, "Ann"), ElementsAre(1, 2));
  const std::string find = "ZrPolicyCache::lookupPolicy() find POP3 object.";
  const std::string none = "ZrPolicyCache::lookupPolicy() isn't POP3 object.";
  EXPECT_EQ(log.lines(), (Lines{{4, "Enter ZrPolicyCache::lookupPolicy(), type=1, key=Ann"},
                                {4, find},
                                {4, none},
                                {4, find},
                                {4, find},
                                {4, none},
                                {4, "Leave ZrPolicyCache::lookupPolicy()"}}));
}

TEST_F(Lookup, ParametersThatAreNoQuestionAreLoggedAndNothingElse) {
  Asked asked(cache);
  char key[] = "k";
  char empty[] = "";
  cache.lookupPolicy(ZrPolicyCache::DEFAULT, key, &asked.set);
  cache.lookupPolicy(type(99), nullptr, &asked.set);
  cache.lookupPolicy(ZrPolicyCache::USER, empty, &asked.set);
  cache.lookupPolicy(ZrPolicyCache::USER, key, nullptr);
  const std::string error = "[ERROR]ZrPolicyCache::lookupPolicy() query parameter error.";
  EXPECT_EQ(log.lines(), (Lines{{4, "Enter ZrPolicyCache::lookupPolicy(), type=0, key=k"},
                                {1, error},
                                {4, "Enter ZrPolicyCache::lookupPolicy(), type=99, key=(null)"},
                                {1, error},
                                {4, "Enter ZrPolicyCache::lookupPolicy(), type=1, key="},
                                {1, error},
                                {4, "Enter ZrPolicyCache::lookupPolicy(), type=1, key=k"},
                                {1, error}}));
  log.clear();
  cache.lookupPolicyIpRange(nullptr, &asked.set);
  cache.lookupPolicyIpRange(empty, &asked.set);
  cache.lookupPolicyIpRange(key, nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
  cache.lookupAllPolicy(nullptr);
  EXPECT_EQ(log.lines(), (Lines{{4, "ZrPolicyCache::lookupAllPolicy() ...\n"},
                                {1, "ZrPolicyCache::lookupAllPolicy() query parameter error\n"}}));
}

TEST_F(Lookup, QuestionsThatFailSayWhatWasAsked) {
  Asked asked(cache);
  const std::string unknown = "char*: ZrPolicyCache::lookupRule() unknow error, iType:[4], pszKey:[";
  EXPECT_EQ(thrownBy([&] { asked.key(type(7), "k"); }), "char*: Unknow entity type [7]");
  EXPECT_EQ(thrownBy([&] { asked.key(type(-2147483647 - 1), "k"); }), "char*: Unknow entity type [-2147483648]");
  EXPECT_EQ(thrownBy([&] { asked.key(ZrPolicyCache::IP, "Not-an-IP"); }), unknown + "not-an-ip]");
  EXPECT_EQ(thrownBy([&] { asked.key(ZrPolicyCache::IP, "255.255.255.255"); }), unknown + "255.255.255.255]");
  const std::string cut = (unknown + std::string(300, 'x')).substr(0, 255 + std::string("char*: ").size());
  EXPECT_EQ(thrownBy([&] { asked.key(ZrPolicyCache::IP, std::string(300, 'x')); }), cut);
  EXPECT_EQ(thrownBy([&] { asked.range("bogus"); }), "const char*: Invalid IP address");
  EXPECT_EQ(thrownBy([&] { asked.range("255.255.255.255"); }), "const char*: Invalid IP address");
  EXPECT_EQ(log.texts(4).size(), 5U);  // five entry lines, no exit line
}

TEST_F(Lookup, UnboundSetTakesOneResultAndFailsAtTheNext) {
  for (const int policyId : {1, 2}) {
    add(ZrPolicyCache::USER, "ann", policyId);
    add(ZrPolicyCache::IP_RANGE, "10.0.0.1 ~ 10.0.0.9", policyId);
  }
  cache.addPolicy(zrtest::newPolicy(500, true, true));
  ZrPolicyResultSet set;
  char user[] = "ANN";
  char address[] = "10.0.0.5";
  const std::string late = "const char*: policy ID is not available anymore";
  EXPECT_EQ(thrownBy([&] { cache.lookupPolicy(ZrPolicyCache::USER, user, &set); }),
            "char*: ZrPolicyCache::lookupRule() unknow error, iType:[1], pszKey:[ann]");
  EXPECT_EQ(set.m_setResult.size(), 1U);
  EXPECT_EQ(thrownBy([&] { cache.lookupPolicyIpRange(address, &set); }), late);
  EXPECT_EQ(thrownBy([&] { cache.getDefaultPolicy(&set); }), late);
  EXPECT_EQ(thrownBy([&] { cache.lookupAllPolicy(&set); }), "char*: ZrPolicyCache::lookupAllPolicy() unknow error");
}

TEST_F(Lookup, RangesAreSearchedWithoutATraceAndOnlyByTheirOwnLookup) {
  add(ZrPolicyCache::IP_RANGE, "10.0.0.1 ~ 10.0.0.255", 1);
  add(ZrPolicyCache::IP_RANGE, "10.0.0.1 ~ 10.0.0.255", 102);
  cache.m_vecIpRange.push_back(nullptr);
  for (int reindexed = 0; reindexed < 2; ++reindexed) {
    EXPECT_THAT(Asked(cache).range("10.0.0.255").policies(), ElementsAre(1));
    cache.reindex();
  }
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_THAT(found(ZrPolicyCache::IP_RANGE, "10.0.0.1"), IsEmpty());
  EXPECT_EQ(log.texts(4).size(), 2U);
}

TEST_F(Lookup, ContainerChangedByHandIsNotTrustedWhenItsNumbersAgreeAgain) {
  add(ZrPolicyCache::USER, "ann", 1);
  add(ZrPolicyCache::USER, "bob", 2);
  delete cache.m_mapUser.begin()->second;
  cache.m_mapUser.erase(cache.m_mapUser.begin());
  add(ZrPolicyCache::USER, "cid", 3);
  for (int reindexed = 0; reindexed < 2; ++reindexed) {
    EXPECT_THAT(found(ZrPolicyCache::USER, "ann"), IsEmpty());
    EXPECT_THAT(found(ZrPolicyCache::USER, "bob"), ElementsAre(2));
    EXPECT_THAT(found(ZrPolicyCache::USER, "cid"), ElementsAre(3));
    cache.reindex();
  }
}

TEST_F(Lookup, AllIsUsersThenGroupsThenOthersByKey) {
  add(ZrPolicyCache::OTHER, "a", 1);
  add(ZrPolicyCache::GROUP, "b", 2);
  add(ZrPolicyCache::GROUP, "a", 3);
  add(ZrPolicyCache::USER, "b", 4);
  add(ZrPolicyCache::USER, "B", 5);
  add(ZrPolicyCache::USER, "c", 102);
  add(ZrPolicyCache::HOSTNAME, "a", 6);
  add(ZrPolicyCache::IP, "10.0.0.1", 7);
  add(ZrPolicyCache::IP_RANGE, "10.0.0.1 ~ 10.0.0.9", 8);
  Asked asked(cache);
  log.clear();
  cache.lookupAllPolicy(&asked.set);
  EXPECT_THAT(asked.policies(), ElementsAre(5, 4, 3, 2, 1));
  EXPECT_EQ(log.lines(), (Lines{{4, "ZrPolicyCache::lookupAllPolicy() ...\n"},
                                {4, "ZrPolicyCache::lookupAllPolicy() type is USER\n"},
                                {4, "ZrPolicyCache::lookupAllPolicy() find POP3 object\n"},
                                {4, "ZrPolicyCache::lookupAllPolicy() find POP3 object\n"},
                                {4, "ZrPolicyCache::lookupAllPolicy() isn't POP3 object\n"},
                                {4, "ZrPolicyCache::lookupAllPolicy() type is GROUP\n"},
                                {4, "ZrPolicyCache::lookupAllPolicy() type is OTHER\n"}}));
}

}  // namespace
