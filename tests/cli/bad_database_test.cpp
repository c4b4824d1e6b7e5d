#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/command.h"
#include "common/odbc_entries.h"
#include "common/temp_folder.h"
#include "db/ZrDataAccess.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

long linesOf(const std::string& text) {
  return std::count(text.begin(), text.end(), '\n');
}

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
  void expectFailure(const std::string& file, int status, const std::string& named) {
    for (const Words& words : {Words{"lookup", "--all", "--database", file}, {"load", "--database", file}}) {
      const CommandResult result = runCommand(words);
      EXPECT_EQ(result.status, status) << words[0] << ' ' << file << '\n' << result.err;
      EXPECT_EQ(linesOf(result.err), 1) << result.err;
      EXPECT_THAT(result.err, testing::AllOf(StartsWith("zrpolicy: "), HasSubstr(named)));
      EXPECT_EQ(result.out, "");
    }
  }

  std::string database(const Words& statements) {
    const std::string file = m_folder.file("bad" + std::to_string(++m_files) + ".db");
    runSql(file, statements);
    return file;
  }

  std::string looseDatabase(const std::string& oneMore) {
    Words statements = kLooseTables;
    statements.push_back(oneMore);
    return database(statements);
  }

  TempFolder m_folder;
  int m_files = 0;
};

TEST_F(BadDatabase, FileThatCannotBeOpenedIsUnreachable) {
  const std::string missing = m_folder.file("missing.db");
  expectFailure(missing, 69, "missing.db");
  EXPECT_FALSE(std::filesystem::exists(missing)) << "a lookup created it";
  expectFailure(m_folder.path(), 69, m_folder.path());
  expectFailure(m_folder.file("no/such/folder.db"), 69, "folder.db");
  expectFailure(m_folder.file(std::string(5000, 'x')), 69, "xxx");
}

TEST_F(BadDatabase, FileThatHoldsNoPolicyDatabaseIsToldApart) {
  expectFailure(m_folder.write("text.db", std::string(5000, 'x')), 78, "text.db");
  expectFailure(m_folder.write("empty.db", ""), 78, "empty.db");
  expectFailure(database({"CREATE TABLE policy (something)"}), 78, ".db");
  expectFailure(database({"CREATE TABLE unrelated (a)"}), 78, ".db");
  expectFailure(looseDatabase("UPDATE policy_revision SET schema_version = 2"), 78, "schema");
  expectFailure(looseDatabase("DELETE FROM policy_revision"), 78, "policy_revision");
}

TEST_F(BadDatabase, LockedFileIsGivenUp) {
  const std::string file = m_folder.file("locked.db");
  ASSERT_EQ(runCommand({"init", "--database", file}).status, 0);
  OdbcEntries entries;
  const std::string dsn = OdbcEntries::freshName();
  entries.addSqlite(dsn, file);
  ZrDbConnect writer;
  writer.connect("", dsn.c_str(), "", "");
  for (const char* statement :
       {"PRAGMA locking_mode = EXCLUSIVE", "BEGIN EXCLUSIVE", "UPDATE policy_revision SET revision = revision + 1"}) {
    writer.executeSQL(statement, ZrDbConnect::SQLTYPE_ANSI);
  }
  const CommandResult result = runCommand({"init", "--force", "--database", file});
  EXPECT_EQ(result.status, 69) << result.err;
  EXPECT_THAT(result.err, HasSubstr("locked"));
}

TEST_F(BadDatabase, UnusableRowIsReportedAndTheRestAnswers) {
  const std::pair<const char*, const char*> rows[] = {
      {"INSERT INTO policy VALUES (NULL, 0, 'n', 0)", "policy_id"},
      {"INSERT INTO policy VALUES (2147483648, 0, 'n', 0)", "2147483648"},
      {"INSERT INTO policy_rule VALUES (1, 2, 1, 'x', 'r', 0, 'a')", "rule_type"},
      {"INSERT INTO policy_rule VALUES (1, 2, 1, 247, 'r', 0, NULL)", "action"},
      {"INSERT INTO ep_link VALUES (2, 7, 'x', 1, 1)", "Unknow entity type"},
      {"INSERT INTO ep_link VALUES (2, 4, 'bogus', 1, 1)", "link_id 2"},
      {"INSERT INTO ep_link VALUES (2, 1, 'x', 1, 'p' || char(10) || char(27))", "priority"},
  };
  for (const auto& [row, named] : rows) {
    const std::string file = looseDatabase(row);
    const CommandResult load = runCommand({"load", "--database", file});
    EXPECT_EQ(load.status, 0) << row;
    EXPECT_THAT(load.out, HasSubstr("refused rows      1\n")) << row;
    EXPECT_THAT(load.err, testing::AllOf(StartsWith("zrpolicy: left out: "), HasSubstr(named))) << row;
    const CommandResult strict = runCommand({"lookup", "--strict", "--all", "--database", file});
    EXPECT_EQ(strict.status, 65) << row;
    EXPECT_EQ(linesOf(strict.err), 1) << row;
    const CommandResult lookup = runCommand({"lookup", "--user", "john", "--database", file});
    EXPECT_EQ(lookup.status, 0) << row;
    EXPECT_THAT(lookup.err, HasSubstr("1 unusable row(s)")) << row;
  }
}

TEST_F(BadDatabase, OddTextsAreAnsweredWholeAndShownSafely) {
  const std::string file = looseDatabase(
      "UPDATE policy SET policy_name = replace(hex(zeroblob(100000)), '0', 'n') || CAST(x'ff1b5b324a' AS TEXT)");
  const std::string longName(200000, 'n');
  EXPECT_THAT(runCommand({"lookup", "--user", "john", "--database", file}).out, HasSubstr(longName + "\\xff\\x1b[2J"));
  EXPECT_THAT(runCommand({"lookup", "--user", "john", "--json", "--database", file}).out,
              HasSubstr(longName + "\xef\xbf\xbd\\u001b[2J\""));
}

TEST_F(BadDatabase, AnyPathWillDo) {
  for (const std::string& name :
       Words{"with blank; and ] = #.db", "\xff\n.db", "-.db", std::string(200, 'd') + "/" + std::string(150, 'f')}) {
    const std::string file = m_folder.file(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    EXPECT_EQ(runCommand({"init", "--sample", "--database", file}).status, 0) << name;
    EXPECT_EQ(runCommand({"lookup", "--default", "--database", file}).status, 0) << name;
  }
}

TEST_F(BadDatabase, StandardDescriptorsThatAreClosedAreNotTheDatabases) {
  const std::string file = m_folder.file("policy.db");
  CommandSetup setup;
  setup.closed = {0, 1, 2};
  EXPECT_EQ(runCommand({"init", "--sample", "--database", file}, setup).status, 74);
  EXPECT_EQ(runCommand({"lookup", "--default", "--database", file}, setup).status, 74);
  EXPECT_EQ(runCommand({"lookup", "--default", "--database", file}).status, 0) << "the file was written over";
}

}  // namespace
}  // namespace zrtest
