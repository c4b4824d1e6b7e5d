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
  using Cache = ZrPolicyCache;
  const std::tuple<Kind, Cache::EntityType, std::string> expected[] = {
      {Kind::kEntity, Cache::OTHER, "POP3_Mail_Sender"},
      {Kind::kAll, Cache::DEFAULT, ""},
      {Kind::kEntity, Cache::USER, "J\xc3\xb6rg \xff user"},
      {Kind::kAddress, Cache::IP, "10.0.0.7"},
      {Kind::kDefault, Cache::DEFAULT, ""},
      {Kind::kEntity, Cache::HOSTNAME, "a"}};
  std::size_t at = 0;
  for (const QuestionPart& part :
       parseQuestion("other POP3_Mail_Sender\tall\tuser J\xc3\xb6rg \xff user\tip 10.0.0.7\tdefault\thost a"))
    EXPECT_EQ(std::tie(part.kind, part.entityType, part.key), expected[at++]) << part.key;
  EXPECT_EQ(at, std::size(expected));
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
