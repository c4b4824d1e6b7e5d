#include <gtest/gtest.h>
#include <sstream>

#include "host/base/terminal_text.h"
#include "host/format/AnswerJson.h"
#include "host/format/AnswerTable.h"

namespace zrhost {
namespace {

AnswerResult result(int priority, const std::string& policyName, const std::string& entityName) {
  AnswerResult made;
  made.priority = priority;
  made.policyId = 42;
  made.policyType = 3;
  made.policyName = policyName;
  made.entityType = ZrPolicyCache::IP_RANGE;
  made.entityName = entityName;
  made.rule = {8, "r", 247, true, "hold"};
  return made;
}

TEST(TerminalText, NothingThatSteersATerminalGetsThrough) {
  const std::pair<std::string, const char*> cases[] = {
      {"plain \\ text", "plain \\ text"},
      {"a\nb\rc\td", "a\\nb\\rc\\td"},
      {std::string("\x1b[31m\0\x7f", 7), "\\x1b[31m\\x00\\x7f"},
      {"J\xc3\xb6rg", "J\xc3\xb6rg"},
      {"\xc2\x9b"
       "31m",
       "\\u{9b}31m"},    // a C1 control that begins a sequence as ESC [ does
      {"a\xe2\x80\xae"   // right-to-left override
       "b\xe2\x80\xa8",  // line separator
       "a\\u{202e}b\\u{2028}"},
      {"\xff\xc3(\xe2\x82", "\\xff\\xc3(\\xe2\\x82"},
      {"\xed\xa0\x80", "\\xed\\xa0\\x80"},  // a surrogate is no character of UTF-8
      {"\xc0\xaf", "\\xc0\\xaf"},           // an overlong slash
  };
  for (const auto& [raw, safe] : cases)
    EXPECT_EQ(terminalText(raw), safe);
}

TEST(TerminalText, IsShortenedBetweenCharactersAndMeasuredInColumns) {
  EXPECT_EQ(shortened("abc", 3), "abc");
  EXPECT_EQ(shortened("ab\xc3\xb6z", 3), "ab...");
  EXPECT_EQ(displayWidth("J\xc3\xb6rg o\xcc\x88"), 6U);     // a combining diaeresis takes no column
  EXPECT_EQ(displayWidth("\xe9\x83\xb5\xe4\xbb\xb6"), 4U);  // two wide characters
}

TEST(AnswerTable, ColumnsAreAlignedAsATerminalShowsThem) {
  EXPECT_EQ(
      answerTable({result(5, "J\xc3\xb6rg\n", "10.0.0.1 ~ 10.0.0.9"), result(-100, "\xe9\x83\xb5\xe4\xbb\xb6", "x")}),
      "PRIORITY  POLICY ID  TYPE  NAME    ENTITY TYPE  ENTITY               RULE  ACTION\n"
      "       5         42     3  J\xc3\xb6rg\\n  IP_RANGE     10.0.0.1 ~ 10.0.0.9  r     hold\n"
      "    -100         42     3  \xe9\x83\xb5\xe4\xbb\xb6    IP_RANGE     x                    r     hold\n");
}

TEST(AnswerTable, LongTextIsShownWholeAndWidensItsOwnLineOnly) {
  const std::string longName(200000, 'n');
  const std::string table = answerTable({result(1, longName, "a"), result(2, "short", "b")});
  EXPECT_NE(table.find(longName), std::string::npos);
  EXPECT_LT(table.size(), longName.size() + 1000);
}

TEST(AnswerTable, IsFittedToATerminalByCuttingTextsButNoNumbers) {
  const Answer answer = {result(2147483647, std::string(200, 'n'), "10.0.0.1 ~ 10.0.0.9"),
                         result(-100, "\xe9\x83\xb5\xe4\xbb\xb6\xe9\x83\xb5\xe4\xbb\xb6", "\x1b[2Jo\xcc\x88")};
  EXPECT_EQ(answerTable(answer, 72),
            "  PRIORITY  POLICY ID  TYPE  NAME     ENTITY TYPE  ENTITY   RULE  ACTION\n"
            "2147483647         42     3  nnnnnn\xe2\x80\xa6  IP_RANGE     10.0.0\xe2\x80\xa6  r     hold\n"
            "      -100         42     3  \xe9\x83\xb5\xe4\xbb\xb6\xe9\x83\xb5\xe2\x80\xa6  IP_RANGE     "
            "\\x1b[2\xe2\x80\xa6  r     hold\n");
  for (const std::size_t width : {60U, 70U, 80U, 120U, 400U}) {
    std::istringstream lines(answerTable(answer, width));
    for (std::string line; std::getline(lines, line);)
      EXPECT_LE(displayWidth(line), width) << line;
  }
  EXPECT_NE(answerTable(answer, 400).find(answer[0].policyName), std::string::npos);
}

TEST(AnswerJson, DocumentHasTheseMembersInThisOrder) {
  EXPECT_EQ(answerJson({result(5, "a \"b\"\n", "\xff/ok")}, 4294967295U, 9223372036854775807),
            R"({"generation":4294967295,"revision":9223372036854775807,"results":[{"priority":5,"policy_id":42,)"
            R"("policy_type":3,"policy_name":"a \"b\"\n","entity_type":"IP_RANGE","entity_name":")"
            "\xef\xbf\xbd"
            R"(/ok","rule":{"id":8,"name":"r","type":247,"ldap_setting":true,"action":"hold"}}]})");
}

}  // namespace
}  // namespace zrhost
