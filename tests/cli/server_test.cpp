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
    m_setup.environment["ODBCINI"] =
        m_folder.write("odbc.ini", "[alive]\nDriver=PostgreSQL Unicode\nServername=" + server.socketFolder() +
                                       "\nPort=5432\nDatabase=" + server.createDatabase() + "\n");
  }

  CommandResult run(Words words) {
    words.insert(words.end(), {"--dsn", "alive", "--db-user", PostgresServer::kUser});
    return runCommand(words, m_setup);
  }

  TempFolder m_folder;
  CommandSetup m_setup;
};

TEST_F(ServerTest, SampleDatabaseAnswersAsOnSqliteAndTheLogTellsTheSteps) {
  const std::string file = m_folder.file("policy.db");
  ASSERT_EQ(run({"init", "--sample"}).status, 0);
  ASSERT_EQ(runCommand({"init", "--sample", "--database", file}).status, 0);
  Words words = {"lookup", "--all", "--ip", "10.0.0.7", "--host", "relay01", "--default"};
  const CommandResult answer = run(words);
  EXPECT_EQ(answer.status, 0) << answer.err;
  words.insert(words.end(), {"--database", file, "--log-level", "4"});
  const CommandResult fromFile = runCommand(words);
  EXPECT_EQ(answer.out, fromFile.out);
  EXPECT_THAT(fromFile.err, HasSubstr("I connected to '" + file + "' (1 connections), statements in "));
  EXPECT_THAT(fromFile.err, testing::ContainsRegex("T [^\n]*/sqlite/read_links.sql: 33 rows, [0-9]+ ms\n"));
  EXPECT_EQ(run({"init"}).status, 73);
}

TEST_F(ServerTest, ServerThatSaysNothingIsGivenUp) {
  ASSERT_EQ(run({"init"}).status, 0);
  const std::string folder = std::filesystem::path(ZR_SOURCE_FOLDER) / "schema";
  std::filesystem::copy(folder, m_folder.file("sql"), std::filesystem::copy_options::recursive);
  m_folder.write("sql/postgresql/read_links.sql", "SELECT pg_sleep(60)");
  expectRefusal(run({"lookup", "--all", "--read-timeout", "1", "--sql-dir", m_folder.file("sql")}), 69,
                "no answer from data source 'alive' for 1 s");
}

}  // namespace
}  // namespace zrtest
