#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/log_capture.h"
#include "host/ask/Answer.h"
#include "host/given_rows.h"

namespace zrhost {
namespace {

using namespace std::string_literals;
using Expected = std::vector<std::pair<int, int>>;  // policy and priority

// Nine policies, each with one rule: policy 1 is the default, policy 9 has a rule of a kind that lookups do not select.
// The members come in another order than sources promise.
std::shared_ptr<const Snapshot> loaded() {
  zrtest::GivenRows rows;
  for (int id = 1; id <= 9; ++id) {
    const std::string number = std::to_string(id);
    rows.policies.push_back({number, "0", "policy\0"s + number, id == 1 ? "1" : "0"});
    rows.rules.push_back({number, "1", "1", id == 9 ? "5" : "247", "rule", "0", "action\0"s + number});
  }
  rows.links = {{"1", "1", "john", "2", "1"},
                {"2", "2", "sales", "2", "9"},
                {"3", "5", "10.0.0.1 ~ 10.0.0.255", "4", "1"},
                {"4", "5", "10.0.0.0 ~ 10.0.1.255", "5", "5"},
                {"5", "4", "10.0.0.7", "4", "8"},
                {"6", "3", "relay01", "6", "100"},
                {"7", "6", "POP3_Mail_Sender", "7", "2"},
                {"8", "1", "Mallory", "9", "1"},
                {"9", "2", "staff", "8", "9"},
                {"10", "2", "Zoo", "3", "1"},
                {"11", "2", "\xc3\xa9lite", "3", "4"},
                {"12", "2", "zoo", "3", "6"}};
  rows.members = {{"zoo", "john"},  {"staff", "anna"},     {"\xc3\xa9lite", "john"},      {"sales", "anna"},
                  {"staff", "Bob"}, {"&#233;lite", "eve"}, {"sales", "POP3_Mail_Sender"}, {"staff", "john"}};
  return Snapshot::load(rows);
}

Expected answered(const Snapshot& snapshot, const Question& question) {
  Expected found;
  for (const AnswerResult& result : ask(snapshot, question))
    found.emplace_back(result.policyId, result.priority);
  return found;
}

TEST(Answer, HoldsEachPolicyOnceInOrderOfPriority) {
  const std::pair<const char*, Expected> cases[] = {
      {"user john\tgroup sales", {{2, 1}}},  // the part that is asked first decides for a policy of two links
      {"group sales\tuser john", {{2, 9}}},
      {"ip 10.0.0.7", {{5, 5}, {4, 8}}},  // an address is asked for itself before the ranges that hold it
      {"ip 10.0.1.7", {{5, 5}}},
      {"host Relay01", {{6, 100}}},
      {"default\thost relay01", {{6, 100}, {1, 2147483647}}},
      {"all", {{2, 1}, {3, 1}, {7, 2}, {8, 9}}},  // users, groups and other keys alone
      {"user Mallory", {}},
  };
  const auto snapshot = loaded();
  for (const auto& [question, expected] : cases)
    EXPECT_EQ(answered(*snapshot, parseQuestion(question)), expected) << question;
}

TEST(Answer, GroupsOfTheUsersAreAskedBehindTheLastUserInOrderOfTheirBytes) {
  const std::pair<const char*, Expected> cases[] = {
      {"user JOHN", {{2, 1}, {3, 6}, {8, 9}}},  // zoo is asked before élite: the first link found for policy 3 counts
      {"user eve", {{3, 4}}},
      {"user eve\tuser john", {{2, 1}, {3, 6}, {8, 9}}},
      {"user nobody\tuser Anna\tgroup sales", {{2, 9}, {8, 9}}},
      {"group sales\tuser bob", {{2, 9}}},  // a member is compared as it stands: Bob is no one's name
      {"other POP3_Mail_Sender\tuser POP3_Mail_Sender", {{7, 2}, {2, 9}}},
      {"group \xc3\xa9lite", {{3, 4}}},
      {"user nobody\tgroup \xc3\xa9lite\tuser john", {{2, 1}, {3, 4}, {8, 9}}},
      {"default", {{1, 2147483647}}},
  };
  const auto snapshot = loaded();
  for (const auto& [question, expected] : cases)
    EXPECT_EQ(answered(*snapshot, withGroups(parseQuestion(question))), expected) << question;
}

TEST(Answer, TextsKeepTheirZeroBytes) {
  const AnswerResult result = ask(*loaded(), parseQuestion("default")).at(0);
  EXPECT_EQ(result.policyName, "policy\0001"s);
  EXPECT_EQ(result.rule.action, "action\0001"s);
}

TEST(Answer, LogTellsWhatWasLoadedAndHowEachPartWasSearched) {
  zrtest::LogCapture log;
  ask(*loaded(), withGroups(parseQuestion("user Anna\tip 10.0.0.7\tdefault\thost Nowhere")));
  std::string lines;
  for (const auto& line : log.lines())
    lines += std::to_string(line.level) + ' ' + line.text;
  EXPECT_THAT(lines, testing::HasSubstr("3 loaded revision 7: 9 policies, 9 rules, 12 links, 8 members in "));
  for (const char* step :
       {"4 asked USER anna: 0 result(s)\n", "4 asked GROUP sales: 1 result(s)\n", "4 asked GROUP staff: 1 result(s)\n",
        "4 asked IP 10.0.0.7: 1 result(s)\n", "4 asked IP_RANGE 10.0.0.7: 1 result(s)\n",
        "4 asked the default policy: 1 result(s)\n", "4 asked HOSTNAME NOWHERE: 0 result(s)\n"})
    EXPECT_THAT(lines, testing::HasSubstr(step));
}

}  // namespace
}  // namespace zrhost
