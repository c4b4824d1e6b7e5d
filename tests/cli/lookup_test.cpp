#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "cli/command.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using Words = std::vector<std::string>;

// A database with the tables alone, and three policies of which one is the default.
class LookupTest : public testing::Test {
 protected:
  LookupTest() {
    EXPECT_EQ(runCommand({"init", "--database", m_file}).status, 0);
    runSql(m_file,
           {"INSERT INTO policy (policy_id, policy_type, policy_name, is_default) VALUES (1, 0, 'usual', 1), "
            "(2, 3, 'J\xc3\xb6rg''s', 0), (3, 3, 'range', 0)",
            "INSERT INTO policy_rule (policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action) "
            "VALUES (1, 1, 11, 247, 'keep', 0, 'keep'), (2, 1, 12, 247, 'drop', 1, 'drop' || char(10)), "
            "(3, 1, 13, 247, 'hold', 0, 'hold')",
            "INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority) VALUES "
            "(1, 1, 'john@example.org', 2, 10), (2, 5, '10.0.0.0 ~ 10.0.0.255', 3, 20), "
            "(3, 4, '10.0.0.7', 2, 30)"});
  }

  CommandResult lookup(const Words& question, const CommandSetup& setup = {}) const {
    Words words = {"lookup", "--database", m_file};
    words.insert(words.end(), question.begin(), question.end());
    return runCommand(words, setup);
  }

  TempFolder m_folder;
  std::string m_file = m_folder.file("policy.db");
};

constexpr char kJohn[] =
    R"(\{"generation":[0-9]+,"revision":[0-9]+,"results":\[\{"priority":10,"policy_id":2,"policy_type":3,)"
    R"("policy_name":"Jörg's","entity_type":"USER","entity_name":"john@example.org","rule":\{"id":12,"name":"drop",)"
    R"("type":247,"ldap_setting":true,"action":"drop\\n"\}\}\]\})";

TEST_F(LookupTest, TableShowsTheResultsBestFirst) {
  const CommandResult result = lookup({"--default", "--user", "John@Example.org", "--ip", "10.0.0.7"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "  PRIORITY  POLICY ID  TYPE  NAME    ENTITY TYPE  ENTITY                 RULE  ACTION\n"
            "        10          2     3  Jörg's  USER         john@example.org       drop  drop\\n\n"
            "        20          3     3  range   IP_RANGE     10.0.0.0 ~ 10.0.0.255  hold  hold\n"
            "2147483647          1     0  usual   DEFAULT      Default Policy         keep  keep\n");
  EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(LookupTest, TableIsFittedToTheTerminalUnlessItIsWantedWhole) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_TRUE(grantpt(terminal) == 0 && unlockpt(terminal) == 0);
  const winsize size{24, 72, 0, 0};
  ASSERT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
  const auto shown = [&](const char* columns, const Words& more) {
    CommandSetup setup{{}, {}, ptsname(terminal), {}};
    if (*columns != '\0') setup.environment["COLUMNS"] = columns;
    Words words = {"--user", "john@example.org", "--ip", "10.0.0.7"};
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_EQ(lookup(words, setup).status, 0);
    std::string text(4096, '\0');
    return text.substr(0, std::max<ssize_t>(read(terminal, text.data(), text.size()), 0));
  };
  constexpr char kWhole[] = "range   IP_RANGE     10.0.0.0 ~ 10.0.0.255  hold  hold\r\n";
  EXPECT_THAT(shown("", {}), HasSubstr("range   IP_RANGE     10.0.0.0 \xe2\x80\xa6  hold  hold\r\n"));
  EXPECT_THAT(shown("60", {}), HasSubstr("20          3     3  ra\xe2\x80\xa6"));
  EXPECT_THAT(shown("200", {}), HasSubstr(kWhole));
  EXPECT_THAT(shown("many", {"--wide"}), HasSubstr(kWhole));
  close(terminal);
}

TEST_F(LookupTest, EachAnswersWhatItsOptionsAsk) {
  const std::tuple<Words, int, std::string> cases[] = {
      {{"--ip", "10.0.0.7", "--user", "john@example.org"}, 0, "(.*\n)* +20 .*\n +30 +2 .*\n"},  // their order counts
      {{"--user", "john@example.org", "--ip", "10.0.0.7"}, 0, "(.*\n)* +10 +2 .*\n +20 .*\n"},
      {{"--json", "--top", "--user", "john@example.org", "--default"}, 0, std::string(kJohn) + "\n"},
      {{"--user", "nobody"}, 1, "no policy applies\n"},
      {{"--user", "nobody", "--json"}, 1, ".*\"results\":\\[\\]\\}\n"},
  };
  for (const auto& [words, status, out] : cases) {
    const CommandResult result = lookup(words);
    EXPECT_EQ(result.status, status);
    EXPECT_THAT(result.out, MatchesRegex(out));
  }
}

TEST_F(LookupTest, GroupsOfAUserAreAskedWhenTheyAreWantedAndTheDatabaseKnowsThem) {
  runSql(m_file, {"INSERT INTO group_member VALUES ('sales', 'john@example.org'), ('sales', 'eve')",
                  "INSERT INTO ep_link VALUES (4, 2, 'sales', 1, 15)"});
  EXPECT_THAT(lookup({"--user", "John@example.org", "--with-groups", "--ip", "10.0.0.7"}).out,
              MatchesRegex(".*\n +10 +2 .*\n +15 +1 .*GROUP +sales .*\n +20 +3 .*\n"));
  EXPECT_EQ(lookup({"--user", "eve"}).status, 1);
  EXPECT_THAT(lookup({"--stdin", "--with-groups"}, {"group x\nuser eve\tdefault\n", {}, "", {}}).out,
              MatchesRegex(R"(.*"results":\[\]\}.\{.*"results":\[\{"priority":15,.*\}\]\}.)"));
  runSql(m_file, {"DROP TABLE group_member", "UPDATE policy_revision SET schema_version = 1"});
  const CommandResult old = lookup({"--user", "eve", "--default", "--with-groups"});
  EXPECT_EQ(old.status, 0);
  EXPECT_THAT(old.err, HasSubstr("knows no members of groups; see zrpolicy init --upgrade"));
}

TEST_F(LookupTest, BatchAnswersLineByLineAndReportsBadLinesInTheirPlaces) {
  CommandSetup setup;
  setup.input = "user john@example.org\r\n\n\r\nwho\nuser nobody\tdefault\nuser " + std::string(200000, 'x') +
                "\nip 1.2.3.256\nall";
  const CommandResult result = lookup({"--stdin"}, setup);
  EXPECT_EQ(result.status, 65);
  std::istringstream lines(result.out);
  Words documents;
  for (std::string line; std::getline(lines, line);)
    documents.push_back(line);
  EXPECT_THAT(documents,
              testing::ElementsAre(MatchesRegex(kJohn), MatchesRegex(R"(\{"error":".*who.*","line":4\})"),
                                   HasSubstr("\"policy_name\":\"usual\""), HasSubstr("\"results\":[]"),
                                   MatchesRegex(R"(\{"error":".*1\.2\.3\.256.*","line":7\})"), MatchesRegex(kJohn)));
}

TEST_F(LookupTest, BatchAnswersAQuestionBeforeTheNextOneIsAsked) {
  RunningCommand command({"lookup", "--database", m_file, "--stdin"});
  command.send("user john@example.org\n");
  EXPECT_THAT(command.readLine(), MatchesRegex(kJohn));
  command.send("user nobody\n");
  EXPECT_THAT(command.readLine(), HasSubstr("\"results\":[]"));
  EXPECT_EQ(command.wait(), 0);
}

TEST_F(LookupTest, BatchEndsWithoutAReaderOrAnyQuestions) {
  RunningCommand command({"lookup", "--database", m_file, "--stdin"});
  command.closeOutput();
  command.send("all\n");
  EXPECT_EQ(command.wait(), -SIGPIPE);
  EXPECT_EQ(lookup({"--stdin"}, {"", {0}, "", {}}).status, 74);
  EXPECT_EQ(lookup({"--all"}, {"", {0}, "", {}}).status, 0);
}

TEST_F(LookupTest, LogLevelShowsTheStepsAndNoPassword) {
  CommandSetup setup;
  setup.environment["ZRPOLICY_PASSWORD"] = "hush-hush";
  EXPECT_THAT(
      lookup({"--all", "--log-level", "3"}, setup).err,
      MatchesRegex(
          "([0-9.]+ I .*\n)*[0-9.]+ I loaded revision 9: 3 policies, 3 rules, 3 links, 0 members in [0-9]+ ms\n"));
  setup.environment["ODBCINI"] = m_folder.write("odbc.ini", "[plain]\nDriver=SQLite3\nDatabase=" + m_file + "\n");
  const CommandResult result = runCommand({"lookup", "--dsn", "plain", "--all", "--log-level", "4"}, setup);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("m_pass=***"));
  EXPECT_THAT(result.err, Not(HasSubstr("hush")));
}

TEST_F(LookupTest, ExpectationsAreTriedAndRecorded) {
  const std::string file = m_folder.write("site.expect", "all\n# comment\n");
  EXPECT_EQ(runCommand({"test", "--database", m_file, "--record", file}).status, 0);
  const CommandResult same = runCommand({"test", "--database", m_file, file});
  EXPECT_EQ(same.out, "ok    " + file + ":1: all\n1 of 1 as expected\n");
  const std::string junit = m_folder.file("junit.xml");
  m_folder.write("site.expect", "all => none\n");
  const CommandResult other = runCommand({"test", "--database", m_file, file, "--junit", junit});
  EXPECT_EQ(other.status, 1);
  EXPECT_THAT(other.out, HasSubstr("FAIL  " + file + ":1: all: expected none, answered "));
  EXPECT_THAT(readFile(junit), HasSubstr("failures=\"1\""));
  EXPECT_EQ(runCommand({"test", "--database", m_file, m_folder.file("missing")}).status, 66);
}

TEST_F(LookupTest, LoadCountsWhatThereIs) {
  const CommandResult result = runCommand({"load", "--database", m_file});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out,
              MatchesRegex("revision +[0-9]+\npolicies +3\nrules +3\nlinks +3\n  USER +1\n  GROUP +0\n"
                           "  HOSTNAME +0\n  IP +1\n  IP_RANGE +1\n  OTHER +0\nmembers +0\nrefused rows +0\n"
                           "seconds +[0-9.]+\nresident memory +[0-9.]+ MiB\n"));
  EXPECT_THAT(result.err, IsEmpty()) << "no progress bar where no terminal is";
}

}  // namespace
}  // namespace zrtest
