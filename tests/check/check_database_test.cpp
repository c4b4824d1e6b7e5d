#include <gmock/gmock.h>
#include <regex>

#include "check/check_rows.h"
#include "cli/command.h"
#include "host/check/FindingReport.h"
#include "host/host_test_support.h"

namespace zrtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Check : public EveryDatabase {
 protected:
  std::vector<std::string> found() {
    std::vector<std::string> texts;
    zrhost::CheckOptions options;
    options.least = zrhost::Severity::kNote;
    options.onFinding = [&texts](const zrhost::Finding& finding) { texts.push_back(textOf(finding)); };
    zrhost::PolicyDatabase database(place->options());
    zrhost::checkRows(database, options);
    return texts;
  }
};
INSTANTIATE_TEST_SUITE_P(, Check, testing::Values("SQLite", "PostgreSQL"), [](const auto& info) { return info.param; });

TEST_P(Check, TablesAreCheckedInTheOrderOfLoading) {
  init();
  EXPECT_THAT(found(), ElementsAre("no-default"));
  place->run(
      "INSERT INTO policy VALUES (1, 1, 'a', 1), (2, 1, 'b', 0);"
      "INSERT INTO policy_rule VALUES (1, 1, 1, 247, 'r', 0, 'DUNNO'), (2, 1, 1, 247, 'r', 0, 'deliver');"
      "INSERT INTO ep_link VALUES (10, 1, 'john', 1, 5), (9, 1, 'john', 2, 5), (3, 1, 'john', 1, 100),"
      "(4, 2, 'Sales', 1, 20), (5, 4, '10.1', 1, 3)");
  EXPECT_THAT(found(), ElementsAre("bad-action 2,1", "odd-address 5 -> 10.0.0.1", "capital-name 4 -> sales",
                                   "equal-priority 10", "duplicate-link 3"));
}

TEST_P(Check, TablesWithoutRulesOfTheirOwnAreCheckedToo) {
  makeLooseTables();
  place->run(
      "INSERT INTO policy_rule VALUES ('1', '1', '1', '247', 'r', '0', 'OK'), ('8', '1', '1', '1', 'r', '0', '');"
      "INSERT INTO ep_link VALUES ('1', '1', 'u', '1', '1'), ('2', '9', 'u', '1', '2'), ('3', '1', 'u', '7', '3'),"
      "('4', '1', NULL, '1', '4'), ('1', '1', 'v', '1', '5')");
  EXPECT_THAT(found(), ElementsAre("unknown-policy 8,1", "unknown-type 2", "unknown-policy 3", "bad-row 4", "bad-row 1",
                                   "no-default"));
}

// The command on an SQLite file of its own.
class CheckCommand : public testing::Test {
 protected:
  CheckCommand() {
    runCommand({"init", "--database", file});
    runSql(file,
           {"INSERT INTO policy VALUES (1, 1, 'a', 0)", "INSERT INTO policy_rule VALUES (1, 1, 1, 247, 'r', 0, 'x')",
            "INSERT INTO ep_link VALUES (1, 4, '10.1', 1, 5)"});
  }
  CommandResult check(std::vector<std::string> options) {
    options.insert(options.begin(), {"check", "--database", file});
    return runCommand(options);
  }

  const TempFolder folder;
  const std::string file = folder.file("policy.db");
};

TEST_F(CheckCommand, StatusTellsWhetherSomethingIsShown) {
  const CommandResult some = check({});
  EXPECT_EQ(some.status, 1);
  EXPECT_THAT(some.out, testing::EndsWith("1 error, 1 warning\n"));
  EXPECT_THAT(check({"--severity", "note"}).out, testing::EndsWith("1 error, 1 warning, 1 note\n"));
  EXPECT_EQ(check({"--severity", "error", "--ignore", "bad-action"}).out, "no findings\n");
  const CommandResult none = check({"--ignore=odd-address", "--actions", "none", "--format", "json"});
  EXPECT_EQ(none.status, 0) << none.err;
  EXPECT_EQ(none.out, "{\"findings\":[],\"summary\":{\"error\":0,\"warning\":0,\"note\":0}}\n");
  EXPECT_THAT(check({"--format", "sarif"}).out, HasSubstr("\"ruleId\":\"odd-address\""));
}

TEST_F(CheckCommand, WrongOptionAndMissingDatabaseAreNamedOnOneLine) {
  expectRefusal(check({"--ignore", "odd-adress"}), 64, "odd-adress");
  expectRefusal(check({"--ignore", "bad-action", "--ignore", "x"}), 64, "no code x");
  expectRefusal(check({"--format", "xml"}), 64, "xml");
  expectRefusal(check({"--severity", "fatal"}), 64, "fatal");
  expectRefusal(check({"--actions", "exim"}), 64, "exim");
  expectRefusal(runCommand({"check", "--format", "json", "--database", folder.file("none.db")}), 69, "none.db");
}

TEST(CheckManual, HelpAndManualPageHaveEveryCodeWithItsSeverityAndEveryOption) {
  const std::string page = readFile(ZR_SOURCE_FOLDER "/docs/man/zrpolicy.1");
  const std::string help = runCommand({"check", "--help"}).out;
  for (const zrhost::FindingKind& kind : zrhost::kFindingKinds) {
    const std::string name = kind.name, severity = zrhost::severityName(kind.severity), found = kind.found;
    EXPECT_THAT(page, HasSubstr(".It Cm " + name + " Ta " + severity + " Ta " + found + '\n'));
    EXPECT_THAT(help, HasSubstr("    " + name + ", " + severity + "\n        " + found + '\n'));
    EXPECT_LE(found.size(), 72U) << found;
  }
  const std::regex option("\n    --([a-z-]+)");
  for (std::sregex_iterator match(help.begin(), help.end(), option), end; match != end; ++match)
    EXPECT_THAT(page, HasSubstr("Fl -" + (*match)[1].str()));
}

}  // namespace
}  // namespace zrtest
