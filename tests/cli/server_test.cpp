#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/command.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
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

TEST_F(ServerTest, SampleDatabaseAnswersAsOnSqlite) {
  const std::string file = m_folder.file("policy.db");
  ASSERT_EQ(run({"init", "--sample"}, "alive").status, 0);
  ASSERT_EQ(runCommand({"init", "--sample", "--database", file}).status, 0);
  for (const Words& question :
       {Words{"--all"}, {"--ip", "10.0.0.7"}, {"--user", "john@example.org", "--group", "sales", "--default"}}) {
    Words words = {"lookup"};
    words.insert(words.end(), question.begin(), question.end());
    const CommandResult answer = run(words, "alive");
    EXPECT_EQ(answer.status, 0) << answer.err;
    words.insert(words.end(), {"--database", file});
    EXPECT_EQ(answer.out, runCommand(words).out);
  }
  EXPECT_EQ(run({"init"}, "alive").status, 73);
}

TEST_F(ServerTest, DatabaseWithoutTablesIsNoPolicyDatabase) {
  EXPECT_EQ(run({"lookup", "--all"}, "alive").status, 78);
}

TEST_F(ServerTest, DeadServerUnknownSourceAndWrongPasswordReadDifferently) {
  PostgresServer::shared().run("postgres", "DROP ROLE IF EXISTS guarded; CREATE ROLE guarded LOGIN PASSWORD 'right'");
  m_setup.environment["ZRPOLICY_PASSWORD"] = "hush-hush";
  const CommandResult dead = run({"load"}, "dead");
  const CommandResult unknown = run({"load"}, "nowhere");
  const CommandResult refused = run({"load"}, "alive", "guarded");
  for (const CommandResult& result : {dead, unknown, refused}) {
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_THAT(result.err, Not(HasSubstr("hush")));
  }
  EXPECT_THAT(unknown.err, HasSubstr("nowhere"));
  EXPECT_THAT(refused.err, AllOf(HasSubstr("guarded"), HasSubstr("password")));
  EXPECT_THAT(dead.err, Not(HasSubstr("password")));
}

}  // namespace
}  // namespace zrtest
