#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/command.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

// The tables without their checks, so that they take what a careless writer may put in.
const Words kLooseTables = {
    "CREATE TABLE policy (policy_id, policy_type, policy_name, is_default)",
    "CREATE TABLE policy_rule (policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action)",
    "CREATE TABLE ep_link (link_id, entity_type, entity_name, policy_id, priority)",
    "CREATE TABLE policy_revision (epoch, revision, schema_version)",
    "INSERT INTO policy_revision VALUES ('e', 1, 1)",
    "INSERT INTO policy VALUES (1, 0, 'one', 0)",
    "INSERT INTO policy_rule VALUES (1, 1, 1, 247, 'r', 0, 'a')",
    "INSERT INTO ep_link VALUES (1, 1, 'john', 1, 1)",
};

class BadDatabase : public testing::Test {
 protected:
  std::string looseDatabase(const std::string& oneMore) {
    const std::string file = m_folder.file("bad" + std::to_string(++m_files) + ".db");
    runSql(file, kLooseTables);
    runSql(file, {oneMore});
    return file;
  }

  TempFolder m_folder;
  int m_files = 0;
};

TEST_F(BadDatabase, EveryCommandEndsWithTheStatusOfTheFailure) {
  const std::string missing = m_folder.file("missing.db");
  const struct {
    std::string file;
    int status;
    std::string named;
  } cases[] = {
      {missing, 69, "missing.db"},
      {m_folder.path(), 69, m_folder.path()},
      {m_folder.file(std::string(5000, 'x')), 69, "xxx"},
      {m_folder.write("text.db", std::string(5000, 'x')), 78, "text.db"},
      {looseDatabase("UPDATE policy_revision SET schema_version = 3"), 78, "schema"},
  };
  for (const auto& [file, status, named] : cases) {
    for (const Words& words : {Words{"lookup", "--all", "--database", file}, {"load", "--database", file}})
      expectRefusal(runCommand(words), status, named);
  }
  EXPECT_FALSE(std::filesystem::exists(missing)) << "a lookup created it";
}

TEST_F(BadDatabase, UnusableRowIsReportedAndTheRestAnswers) {
  const std::pair<const char*, const char*> rows[] = {
      {"INSERT INTO policy VALUES (NULL, 0, 'n', 0)", "policy_id"},
      {"INSERT INTO policy_rule VALUES (1, 2, 1, 'x', 'r', 0, 'a')", "rule_type"},
      {"INSERT INTO ep_link VALUES (2, 4, 'bogus', 1, 1)", "link_id 2"},
      {"INSERT INTO ep_link VALUES (2, 1, 'x', 1, 'p' || char(10) || char(27))", "priority"},
  };
  for (const auto& [row, named] : rows) {
    const std::string file = looseDatabase(row);
    const CommandResult load = runCommand({"load", "--database", file});
    EXPECT_EQ(load.status, 0) << row;
    EXPECT_THAT(load.out, HasSubstr("refused rows     1\n")) << row;
    EXPECT_THAT(load.err, testing::AllOf(StartsWith("zrpolicy: left out: "), HasSubstr(named))) << row;
    expectRefusal(runCommand({"lookup", "--strict", "--all", "--database", file}), 65, named);
    const CommandResult lookup = runCommand({"lookup", "--user", "john", "--database", file});
    EXPECT_EQ(lookup.status, 0) << row;
    EXPECT_THAT(lookup.err, HasSubstr("1 unusable row(s)")) << row;
  }
}

TEST_F(BadDatabase, UpgradeOfVersion1SaysWhatItDid) {
  const std::string file = looseDatabase("INSERT INTO policy VALUES (2, 0, 'two', 0)");
  expectRefusal(runCommand({"init", "--database", file}), 73, "init --upgrade");
  EXPECT_EQ(runCommand({"init", "--upgrade", "--force", "--database", file}).status, 64);
  for (const char* said : {"upgraded from version 1 to 2", "nothing to do"}) {
    const CommandResult result = runCommand({"init", "--upgrade", "--database", file});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith(said));
  }
}

TEST_F(BadDatabase, StandardDescriptorsThatAreClosedAreNotTheDatabases) {
  const std::string file = m_folder.file("policy.db");
  const CommandSetup setup{"", {0, 1, 2}, "", {}};
  EXPECT_EQ(runCommand({"init", "--sample", "--database", file}, setup).status, 74);
  EXPECT_EQ(runCommand({"lookup", "--default", "--database", file}, setup).status, 74);
  EXPECT_EQ(runCommand({"lookup", "--default", "--database", file}).status, 0) << "the file was written over";
}

TEST_F(BadDatabase, StatementsOfSomebodyElseAreNotTaken) {
  namespace fs = std::filesystem;
  const std::string file = m_folder.file("policy.db");
  ASSERT_EQ(runCommand({"init", "--sample", "--database", file}).status, 0);
  fs::create_directories(m_folder.file("a/b"));
  fs::copy_file(ZR_COMMAND, m_folder.file("a/b/zrpolicy"));
  m_folder.write("zrpolicy-sql-directory", ZR_SOURCE_FOLDER "/schema\n");
  m_folder.write("a/zrpolicy-sql-directory", ZR_SOURCE_FOLDER "/schema\n");
  EXPECT_THAT(outputOf("{ " + m_folder.file("a/b/zrpolicy") + " load --database " + file + " || true; }"),
              HasSubstr("cannot read the SQL statement files in '" + m_folder.file("a/share/zrpolicy/sql") + "'"));
}

TEST_F(BadDatabase, KilledCommandLeavesNothingBehind) {
  const std::string file = m_folder.file("policy.db");
  ASSERT_EQ(runCommand({"init", "--sample", "--database", file}).status, 0);
  const TempFolder temporary;
  CommandSetup setup;
  setup.environment["TMPDIR"] = temporary.path();
  for (const int signal : {SIGKILL, SIGQUIT, SIGALRM, SIGTERM}) {
    RunningCommand command({"lookup", "--database", file, "--stdin"}, setup);
    command.send("all\n");
    EXPECT_THAT(command.readLine(), HasSubstr("results"));
    command.signal(signal);
    EXPECT_EQ(command.wait(), -signal);
  }
  EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));
}

}  // namespace
}  // namespace zrtest
