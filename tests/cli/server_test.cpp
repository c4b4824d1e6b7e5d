#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/command.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

// The command against a PostgreSQL server, through an odbc.ini of an administrator's.
class ServerTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!PostgresServer::installed()) GTEST_SKIP() << "PostgreSQL is not installed";
    PostgresServer& server = PostgresServer::shared();
    const std::string rest = "\nPort=5432\nDatabase=" + server.createDatabase() + "\n";
    const std::string driver = "Driver=PostgreSQL Unicode\nServername=";
    m_setup.environment["ODBCINI"] =
        m_folder.write("odbc.ini", "[alive]\n" + driver + server.socketFolder() + rest + "[dead]\n" + driver +
                                       m_folder.path().string() + rest);
  }

  CommandResult run(Words words, const std::string& dsn, const std::string& user = PostgresServer::kUser) {
    for (const std::string& word : {std::string("--dsn"), dsn, std::string("--db-user"), user})
      words.push_back(word);
    return runCommand(words, m_setup);
  }

  TempFolder m_folder;
  CommandSetup m_setup;
};

TEST_F(ServerTest, SampleDatabaseAnswersAsOnSqliteAndTheLogTellsTheSteps) {
  const std::string file = m_folder.file("policy.db");
  ASSERT_EQ(run({"init", "--sample"}, "alive").status, 0);
  ASSERT_EQ(runCommand({"init", "--sample", "--database", file}).status, 0);
  Words words = {"lookup", "--all", "--ip", "10.0.0.7", "--host", "relay01", "--default"};
  const CommandResult answer = run(words, "alive");
  EXPECT_EQ(answer.status, 0) << answer.err;
  words.insert(words.end(), {"--database", file, "--log-level", "4"});
  const CommandResult fromFile = runCommand(words);
  EXPECT_EQ(answer.out, fromFile.out);
  EXPECT_THAT(fromFile.err, HasSubstr("I connected to '" + file + "' (1 connections), statements in "));
  EXPECT_THAT(fromFile.err, testing::ContainsRegex("T [^\n]*/sqlite/read_links.sql: 33 rows, [0-9]+ ms\n"));
  EXPECT_EQ(run({"init"}, "alive").status, 73);
}

TEST_F(ServerTest, DeadServerUnknownSourceAndWrongPasswordReadDifferently) {
  m_setup.environment["ZRPOLICY_PASSWORD"] = "hush-hush";
  expectRefusal(run({"load"}, "dead"), 69, "does not answer");
  expectRefusal(run({"load"}, "nowhere"), 69, "unknown data source 'nowhere'");
  const CommandResult refused = run({"load"}, "alive", "nobody");
  expectRefusal(refused, 69, "wrong user or password");
  EXPECT_THAT(refused.err, testing::Not(HasSubstr("hush")));
}

TEST_F(ServerTest, ServerThatSaysNothingIsGivenUp) {
  ASSERT_EQ(run({"init"}, "alive").status, 0);
  const std::string folder = std::filesystem::path(ZR_SOURCE_FOLDER) / "schema";
  std::filesystem::copy(folder, m_folder.file("sql"), std::filesystem::copy_options::recursive);
  m_folder.write("sql/postgresql/read_links.sql", "SELECT pg_sleep(60)");
  expectRefusal(run({"lookup", "--all", "--read-timeout", "1", "--sql-dir", m_folder.file("sql")}, "alive"), 69,
                "no answer from data source 'alive' for 1 s");
}

}  // namespace
}  // namespace zrtest
