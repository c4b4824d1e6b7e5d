#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/ask/Question.h"
#include "host/base/HostError.h"

namespace zrhost {
namespace {

using Kind = QuestionPart::Kind;
using testing::HasSubstr;
using namespace std::string_literals;

std::string refusalOf(const std::string& line) {
  try {
    parseQuestion(line);
  } catch (const HostError& error) {
    EXPECT_EQ(error.kind(), ErrorKind::kUsage) << line;
    return error.what();
  }
  ADD_FAILURE() << "taken for a question: " << line;
  return {};
}

TEST(Question, PartsKeepTheirOrderAndTheirKeysEveryByte) {
  const Question question =
      parseQuestion("other POP3_Mail_Sender\tall\tuser J\xc3\xb6rg \xff user\tip 10.0.0.7\tdefault\tgroup a\thost a");
  ASSERT_EQ(question.size(), 7U);
  EXPECT_EQ(question[0].entityType, ZrPolicyCache::OTHER);
  EXPECT_EQ(question[0].key, "POP3_Mail_Sender");
  EXPECT_EQ(question[1].kind, Kind::kAll);
  EXPECT_EQ(question[2].entityType, ZrPolicyCache::USER);
  EXPECT_EQ(question[2].key, "J\xc3\xb6rg \xff user");
  EXPECT_EQ(question[3].kind, Kind::kAddress);
  EXPECT_EQ(question[3].key, "10.0.0.7");
  EXPECT_EQ(question[4].kind, Kind::kDefault);
  EXPECT_EQ(question[5].entityType, ZrPolicyCache::GROUP);
  EXPECT_EQ(question[6].entityType, ZrPolicyCache::HOSTNAME);
}

TEST(Question, TextsThatAreNoQuestionAreRefusedWithTheReason) {
  const std::pair<std::string, const char*> cases[] = {
      {"usr john", "\"usr john\" is no question"},
      {"User john", "is no question"},
      {"default now", "is no question"},
      {" ", "is no question"},
      {"user", "user needs a key"},
      {"user ", "user needs a key"},
      {"user john\t", "a part of the question is empty"},
      {"\tdefault", "a part of the question is empty"},
      {"user jo\0hn"s, "a key cannot hold a zero byte"},
      {"ip bogus", "\"bogus\" is no IPv4 address"},
      {"ip 255.255.255.255", "is no IPv4 address"},
      {"ip 10.0.0.256", "is no IPv4 address"},
      {"ip 10.0.0.7 or so", "is no IPv4 address"},
      {"ip  10.0.0.7", "is no IPv4 address"},
      {"ip ::1", "is no IPv4 address"},
      {"\x1b[2J", "\"\\x1b[2J\" is no question"},
  };
  for (const auto& [line, reason] : cases)
    EXPECT_THAT(refusalOf(line), HasSubstr(reason)) << line;
  EXPECT_LT(refusalOf(std::string(200000, 'x')).size(), 400U);
}

}  // namespace
}  // namespace zrhost
