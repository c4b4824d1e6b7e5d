#include <algorithm>
#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/command.h"
#include "common/odbc_entries.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

// Runs commands side by side; answers how they ended, sorted.
std::vector<int> runAtOnce(const std::vector<Words>& commands, const CommandSetup& setup = {}) {
  std::vector<std::future<int>> runs(commands.size());
  for (std::size_t i = 0; i < runs.size(); ++i)
    runs[i] = std::async(std::launch::async, [&, i] { return runCommand(commands[i], setup).status; });
  std::vector<int> statuses(runs.size());
  std::ranges::transform(runs, statuses.begin(), [](std::future<int>& run) { return run.get(); });
  std::sort(statuses.begin(), statuses.end());
  return statuses;
}

class InitCommand : public testing::Test {
 protected:
  // Half of those that would fill in sample data cannot do so, and fail late.
  std::vector<Words> sixInits(const Words& place, bool halfFail) {
    std::vector<Words> commands(6, {"init", "--sample"});
    for (std::size_t i = 0; i < commands.size(); ++i) {
      commands[i].insert(commands[i].end(), place.begin(), place.end());
      if (halfFail && i % 2 == 1) commands[i].insert(commands[i].end(), {"--sql-dir", m_folder.file("sql")});
    }
    return commands;
  }
  void expectWhole(const Words& place, const CommandSetup& setup = {}) {
    Words words = {"load"};
    words.insert(words.end(), place.begin(), place.end());
    EXPECT_THAT(runCommand(words, setup).out, HasSubstr("links            33\n"));
  }

  TempFolder m_folder;
};

TEST_F(InitCommand, OfManyAtOnceOneMakesTheFileAndTheOthersLeaveItAlone) {
  std::filesystem::copy(ZR_SOURCE_FOLDER "/schema", m_folder.path() / "sql", std::filesystem::copy_options::recursive);
  m_folder.write("sql/sample/99_last.sql", "INSERT INTO nonsense VALUES (1)");
  for (int round = 0; round < 12; ++round) {
    const bool halfFail = round % 2 == 1;
    const TempFolder place;
    const std::string file = place.file("p.db");
    if (round % 4 >= 2) runSql(file, {"CREATE TABLE bystander (n INTEGER)"});
    const std::vector<int> statuses = runAtOnce(sixInits({"--database", file}, halfFail));
    EXPECT_THAT(statuses, testing::Each(testing::AnyOf(0, 73, halfFail ? 74 : 73)));
    EXPECT_EQ(std::count(statuses.begin(), statuses.end(), 0), 1);
    expectWhole({"--database", file});
    EXPECT_EQ(readFile(file)[18], 2) << "not in WAL mode";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place.path()), {}), 1) << "something is left behind";
  }
}

TEST_F(InitCommand, SaysWhatItMadeDroppedAndUpgraded) {
  const std::string file = m_folder.file("p.db");
  runCommand({"init", "--sample", "--database", file});
  const CommandResult forced = runCommand({"init", "--force", "--database", file});
  EXPECT_THAT(forced.out, testing::StartsWith("dropped tables with 85 rows\n  ep_link: 33\n  policy_rule: 24\n"));
  EXPECT_THAT(forced.out, HasSubstr("\ncreated tables with 1 rows\n  ep_link: 0\n"));
  EXPECT_EQ(runCommand({"init", "--upgrade", "--database", file}).out, "nothing to do: the database has version 2\n");
}

TEST_F(InitCommand, OfManyAtOnceOneMakesTheTablesOnAServerAndLookupsBesideForceAnswer) {
  if (!PostgresServer::installed()) GTEST_SKIP() << "PostgreSQL is not installed";
  PostgresServer& server = PostgresServer::shared();
  CommandSetup setup;
  setup.environment["ODBCINI"] =
      m_folder.write("odbc.ini", "[p]\nDriver=PostgreSQL Unicode\nServername=" + server.socketFolder() +
                                     "\nPort=5432\nUsername=postgres\nDatabase=" + server.createDatabase() + "\n");
  const Words place = {"--dsn", "p", "--db-user", PostgresServer::kUser};
  EXPECT_THAT(runAtOnce(sixInits(place, false), setup), testing::ElementsAre(0, 73, 73, 73, 73, 73));
  expectWhole(place, setup);
  std::vector<Words> commands;
  for (const char* name : {"init", "lookup", "lookup", "lookup", "init", "lookup", "lookup"}) {
    commands.push_back({name, *name == 'i' ? "--force" : "--default"});
    if (*name == 'i') commands.back().emplace_back("--sample");
    commands.back().insert(commands.back().end(), place.begin(), place.end());
  }
  for (int round = 0; round < 4; ++round)
    EXPECT_THAT(runAtOnce(commands, setup), testing::Each(0));
}

}  // namespace
}  // namespace zrtest
