#include "check/check_rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zrtest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using Found = std::vector<std::string>;

struct LinkCase {
  const char* typeAndName;
  Found found;
};

// What stands beside the entity is beyond reproach, so that nothing else is found.
TEST(CheckRows, EntityThatCannotBeMeantIsFoundWithItsSureRemedy) {
  const LinkCase cases[] = {
      {"1|john", {}},
      {"1|John", {"capital-name 7 -> john"}},
      {"1|POP3_Mail_Sender", {}},
      {"1|POP3_Mail_sender", {"capital-name 7 -> pop3_mail_sender"}},
      {"1| POP3_Mail_Sender", {"blank-name 7 -> POP3_Mail_Sender"}},
      {"2|\xC3\x89tienne", {}},
      {"2| Sales ", {"capital-name 7 -> sales", "blank-name 7 -> sales"}},
      {"6|KEY", {"capital-name 7 -> key"}},
      {"6|a b", {}},
      {"6|", {"blank-name 7"}},
      {"3|", {"blank-name 7"}},
      {"2|  ", {"blank-name 7"}},
      {"3|Relay01", {}},
      {"3|Relay01\t", {"blank-name 7 -> Relay01"}},
      {"1|ren&#233;", {}},
      {"1|a&b#c", {}},
      {"1|a &#233x;", {}},
      {"1|&#233;&#66;", {"undecoded-entity 7"}},
      {"2|&#8364;&#66;", {"undecoded-entity 7"}},
      {"1|&#233", {"undecoded-entity 7"}},
      {"1|&#x41;", {"undecoded-entity 7"}},
      {"6|&#66;", {}},
      {"3|&#66;", {}},
      {"2|&#8364;", {"other-character 7"}},
      {"1|&#233;&#489;&#8364;", {"other-character 7"}},
      {"1|&#0233;", {}},
      {"4|10.0.0.1", {}},
      {"4| 10.0.0.1 ", {}},
      {"4|010.0.0.1", {"odd-address 7 -> 8.0.0.1"}},
      {"4|10.1", {"odd-address 7 -> 10.0.0.1"}},
      {"4|0x0A000001", {"odd-address 7 -> 10.0.0.1"}},
      {"4|10.0.0.1 # office", {"odd-address 7 -> 10.0.0.1"}},
      {"4|10.0.0.1 ~", {"odd-address 7 -> 10.0.0.1"}},
      {"4|10.0.0.1 ~ 10.0.0.9", {"second-address 7"}},
      {"4|10.0.0.1 10.0.0.9", {"second-address 7"}},
      {"4|10.1 ~ 10.0.0.9", {"odd-address 7", "second-address 7"}},
      {"4|255.255.255.255", {"bad-address 7"}},
      {"4|", {"bad-address 7"}},
      {"4|  ", {"bad-address 7"}},
      {"4|10.0.0.0/24", {"bad-address 7 -> 5,10.0.0.0 ~ 10.0.0.255"}},
      {"5|10.0.0.1/24", {"bad-address 7"}},
      {"4|10.0.0.1 - 10.0.0.9", {"second-address 7"}},
      {"5|::ffff:10.0.0.1", {"bad-address 7 -> 4,10.0.0.1"}},
      {"4|2001:db8::1", {"bad-address 7"}},
      {"4|relay01", {"bad-address 7"}},
      {"5|10.0.0.1 ~ 10.0.0.9", {}},
      {"5|10.0.0.1 ~10.0.0.9", {}},
      {"5|192.168.100.100~192.168.100.101", {}},
      {"5|10.0.0.1 ~ 10.0.0.1", {}},
      {"5|10.0.0.01 ~ 10.0.0.9", {"odd-address 7 -> 10.0.0.1 ~ 10.0.0.9"}},
      {"5|10.0.0.1 ~ 10.0.0.9 old", {"odd-address 7 -> 10.0.0.1 ~ 10.0.0.9"}},
      {"5|10.0.0.9 ~ 10.0.0.1", {"reversed-range 7"}},
      {"5|1.0.0.0 ~ 0.0.0.9", {"reversed-range 7"}},
      {"5|10.0.0.1", {"half-range 7 -> 4,10.0.0.1"}},
      {"5|10.0.0.01 ~ ", {"half-range 7 -> 4,10.0.0.1"}},
      {"5| ~ 10.0.0.1", {"half-range 7 -> 4,10.0.0.1"}},
      {"5|10.0.0.1 10.0.0.9", {"half-range 7"}},
      {"5|10.0.0.1 - 10.0.0.9", {"bad-address 7 -> 10.0.0.1 ~ 10.0.0.9"}},
      {"5|10.0.0.1~10.0.0.9", {"bad-address 7 -> 10.0.0.1 ~ 10.0.0.9"}},
      {"5|10.0.0.1 ~ 255.255.255.255", {"bad-address 7"}},
      {"5|::1 ~ ::9", {"bad-address 7"}},
      {"5|10.0.0.1 ~ x", {"bad-address 7"}},
      {"7|john", {"unknown-type 7"}},
      {"0|john", {"unknown-type 7"}},
      {"USER|john", {"unknown-type 7"}},
      {"NULL|john", {"unknown-type 7"}},
      {"1|NULL", {"bad-row 7"}},
  };
  for (const auto& [typeAndName, found] : cases) {
    EXPECT_THAT(findingsOf(goodPolicy(1, true) + "link|7|" + typeAndName + "|1|10"), ElementsAreArray(found))
        << typeAndName;
  }
}

TEST(CheckRows, ReasonOfARefusedAddressNamesItsKind) {
  const std::pair<const char*, const char*> cases[] = {
      {"4|2001:db8::1/64", "IPv6"},         {"4|::ffff:10.0.0.1", "write '10.0.0.1' for '::ffff:10.0.0.1'"},
      {"4|0xffffffff", "255.255.255.255"},  {"5|10.0.0.1~10.0.0.9", "write it as '10.0.0.1 ~ 10.0.0.9'"},
      {"5|10.0.0.0/24", "entity_type 5"},   {"5| ", "there is no address"},
      {"5|300.0.0.1 ~ 1.1.1.1", "no IPv4"},
  };
  for (const auto& [typeAndName, named] : cases) {
    std::string text;
    zrhost::CheckOptions options;
    options.onFinding = [&text](const zrhost::Finding& finding) { text += finding.message + "; " + finding.remedy; };
    zrhost::CheckSink sink(options);
    feed(sink, goodPolicy(1, true) + "link|7|" + typeAndName + "|1|10");
    EXPECT_EQ(sink.finish().errors, 1U);
    EXPECT_THAT(text, testing::HasSubstr(named)) << typeAndName;
  }
}

TEST(CheckRows, EverythingWrongWithARefusedLinkIsTold) {
  EXPECT_THAT(
      findingsOf(goodPolicy(1, true) +
                 "link|1|1|John|9|10\nlink|2|4|x|9|10\nlink|x|6|a |1|1\nlink|4|1|John|1|y\nlink|5|4|10.1 10.2|9|1"),
      ElementsAre("unknown-policy 1", "capital-name 1 -> john", "unknown-policy 2", "bad-address 2", "bad-row x",
                  "blank-name x -> a", "bad-row 4", "capital-name 4 -> john", "unknown-policy 5", "odd-address 5",
                  "second-address 5"));
}

struct RowsCase {
  std::string rows;
  Found found;
};

TEST(CheckRows, RowsAreFoundWhereTheirRelationToOthersIsWrong) {
  const std::string one = goodPolicy(1, true), two = one + goodPolicy(2);
  const std::string unselected = "policy|2|1|n|0\nrule|2|1|1|246|r|0|\n", used = "link|9|6|used|2|9\n";
  const RowsCase cases[] = {
      {one, {}},
      {"policy|1|x|n|0\nlink|1|1|u|1|1", {"bad-row 1", "unknown-policy 1", "no-default"}},
      {one + "policy|1|1|again|0", {"bad-row 1"}},
      {one + "rule|1|1|2|247|r|0|OK\nrule|3|1|1|1|r|0|\nrule|NULL|1|1|1|r|0|\nrule|1|2|1|z|r|0|",
       {"bad-row 1,1", "unknown-policy 3,1", "bad-row NULL,1", "bad-row 1,2"}},
      {one + unselected + used, {"no-selected-rule 2"}},
      {one + "policy|2|1|n|0\nrule|2|1|1|5|r|0|\nrule|2|2|1|247|r|0|OK\n" + used, {}},
      {two, {"unused-policy 2"}},
      {two + "link|9|4|x|2|9", {"bad-address 9"}},
      {goodPolicy(1), {"unused-policy 1", "no-default"}},
      {two + goodPolicy(3, true) + goodPolicy(2 + 2, true) + used, {"several-defaults 1", "several-defaults 3"}},
      // Links of one entity, by the key that they are filed under.
      {two + "link|5|1|u|1|1\nlink|3|1|u|1|2\n" + used, {"duplicate-link 3"}},
      {two + "link|5|3|host|1|1\nlink|3|3|HOST|1|2\n" + used, {"duplicate-link 3"}},
      {two + "link|5|2|ren&#233;|1|1\nlink|3|2|ren\xC3\xA9|1|2\n" + used, {"duplicate-link 3"}},
      {two + "link|5|4|10.0.0.1|1|1\nlink|3|4|10.0.0.1 ~ 10.0.0.2|1|2\n" + used,
       {"second-address 3", "duplicate-link 3"}},
      {two + "link|5|6|ren&#233;|1|1\nlink|3|6|ren\xC3\xA9|1|2\n" + used, {}},
      {two + "link|5|1|u|1|1\nlink|6|2|u|1|1\nlink|7|6|u|1|1\n" + used, {}},
      {two + "link|5|1|u|1|1\nlink|6|1|u|2|1", {"equal-priority 6"}},
      {two + "link|5|1|u|1|1\nlink|6|1|u|2|2", {}},
      {two + "link|5|1|u|1|1\nlink|6|2|u|2|1", {}},
      {two + "link|5|1|u|1|1\nlink|6|1|u|2|2\nlink|7|1|u|1|2", {"duplicate-link 7"}},
      {one + unselected + "link|5|1|u|1|1\nlink|6|1|u|2|1", {"no-selected-rule 2"}},
      {two + "link|5|1|u|1|1\nlink|5|1|v|2|1", {"bad-row 5"}},
      // Ranges.
      {two + "link|5|5|1.0.0.1 ~ 1.0.0.9|1|1\nlink|6|5|1.0.0.1 ~ 1.0.0.9|1|2\n" + used, {"duplicate-link 6"}},
      {two + "link|5|5|1.0.0.1 ~ 1.0.0.9|1|1\nlink|6|5|1.0.0.2 ~ 1.0.0.9|1|2\n" + used, {"covered-range 6"}},
      {two + "link|5|5|1.0.0.1 ~ 1.0.0.9|1|2\nlink|6|5|1.0.0.0 ~ 1.0.0.9|1|2\n" + used, {}},
      {two + "link|5|5|1.0.0.1 ~ 1.0.0.9|1|1\nlink|6|5|1.0.0.2 ~ 1.0.0.3|2|2", {}},
      {two + "link|5|5|1.0.0.1 ~ 1.0.0.9|1|1\nlink|6|5|1.0.0.9 ~ 1.0.0.20|2|1", {"equal-priority 6"}},
      {two + "link|5|5|1.0.0.1 ~ 1.0.0.9|1|1\nlink|6|5|1.0.0.10 ~ 1.0.0.20|2|1", {}},
      {two + "link|5|5|1.0.0.9 ~ 1.0.0.1|1|1\nlink|6|5|1.0.0.2 ~ 1.0.0.3|2|1", {"reversed-range 5"}},
      // Members.
      {two + "link|5|2|sales|2|1\nmember|sales|ann\nmember|sales|john", {}},
      {two + used + "member|dev|ann\nmember|dev|john\nmember|qa|ann", {"unused-group dev,ann", "unused-group qa,ann"}},
      {two + "link|5|1|sales|2|1\nmember|sales|ann", {"unused-group sales,ann"}},
      {two + "link|5|2|sales|2|1\nmember|Sales|John ",
       {"capital-name Sales,John  -> sales", "capital-name Sales,John  -> john", "blank-name Sales,John  -> john"}},
      {two + "link|5|2|sales|2|1\nmember|sales|ann\nmember|sales|ann\nmember|sales|NULL",
       {"bad-row sales,ann", "bad-row sales,NULL"}},
      {two + "link|5|2|sales|2|1\nmember||ann\nmember|sales|\nmember|sales|NULL\nmember|sales|NULL",
       {"blank-name ,ann", "blank-name sales,", "bad-row sales,NULL", "bad-row sales,NULL"}},
  };
  for (const auto& [rows, found] : cases) {
    EXPECT_THAT(findingsOf(rows), ElementsAreArray(found)) << rows;
  }
}

TEST(CheckRows, ActionThatAPostfixReplyCannotCarryIsFound) {
  const std::string longest = "REJECT " + std::string(893, 'x'), first = "rule|1|1|1|247|r|0|";
  const auto found = [](const std::string& rule, bool postfix) {
    zrhost::CheckOptions options;
    options.postfixActions = postfix;
    return findingsOf("policy|1|1|n|1\n" + rule, options);
  };
  for (const std::string& action : {longest, std::string("DUNNO"), std::string("reject"), std::string("550 5.7.1 no"),
                                    std::string("12345"), std::string("PREPEND X-A: b"),
                                    std::string("permit_mynetworks, reject"), std::string("Defer_If_Permit\tlater")}) {
    EXPECT_THAT(found(first + action, true), ElementsAre()) << action;
  }
  for (const std::string& action :
       {std::string(), std::string("  "), std::string("deliver"), std::string("REJECTED x"), std::string("220 ok"),
        std::string(" DUNNO"), std::string("reject_unath_destination")}) {
    EXPECT_THAT(found(first + action, true), ElementsAre("bad-action 1,1")) << action;
    EXPECT_THAT(found(first + action, false), ElementsAre()) << action;
  }
  for (const std::string& action : {longest + "x", std::string("OK\r"), std::string("OK\0x", 4)}) {
    EXPECT_THAT(found(first + action, true), ElementsAre("bad-action 1,1")) << action;
    EXPECT_THAT(found(first + action, false), ElementsAre("bad-action 1,1")) << action;
  }
  EXPECT_THAT(found(first + "OK\nrule|1|2|1|246|r|0|deliver", true), ElementsAre());
}

TEST(CheckRows, SeverityAndIgnoredCodesDecideWhatIsReportedAndCounted) {
  const std::string rows = goodPolicy(1, true) + goodPolicy(2) + "link|1|1|John|1|1\nlink|2|4|10.1|1|1";
  const auto counts = [&rows](zrhost::Severity least, std::set<zrhost::FindingCode> ignored) {
    zrhost::CheckOptions options;
    options.least = least;
    options.ignored = std::move(ignored);
    zrhost::CheckSink sink(options);
    feed(sink, rows);
    const zrhost::CheckSummary summary = sink.finish();
    return std::vector<std::uint64_t>{summary.errors, summary.warnings, summary.notes};
  };
  EXPECT_THAT(counts(zrhost::Severity::kNote, {}), ElementsAre(1, 1, 1));
  EXPECT_THAT(counts(zrhost::Severity::kWarning, {}), ElementsAre(1, 1, 0));
  EXPECT_THAT(counts(zrhost::Severity::kError, {}), ElementsAre(1, 0, 0));
  EXPECT_THAT(counts(zrhost::Severity::kNote, {zrhost::FindingCode::kCapitalName}), ElementsAre(0, 1, 1));
}

}  // namespace
}  // namespace zrtest
