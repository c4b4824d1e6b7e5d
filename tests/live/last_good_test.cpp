#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "host/ask/Answer.h"
#include "live/live_test_support.h"

using testing::HasSubstr;

namespace zrtest {
namespace {

class LiveLastGood : public LiveTest {
 protected:
  LiveOptions options() const { return quick(place->options(), state.path().string()); }
  std::string database() const { return state.file("last_good.db"); }
  // A database that fails, since it is not there.
  LiveOptions withoutDatabase() const {
    auto lost = options();
    lost.dataSource.clear();
    lost.databaseFile = state.file("none.db");
    return lost;
  }
  void keepOnce() {
    LivePolicies policies(options());
    policies.start();
    ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
    ASSERT_TRUE(comesTrue([&] { return policies.status().keptRevision == policies.lease()->revision(); }))
        << policies.status().keepError;
  }

  TempFolder state;
};
INSTANTIATE_TEST_SUITE_P(, LiveLastGood, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

// Every user, group, host, address and other name that the links have, the groups of the users and the default.
std::vector<std::string> verdicts(const zrhost::Snapshot& snapshot) {
  std::vector<std::string> lines;
  const auto ask = [&](const std::string& text) {
    const auto question = zrhost::withGroups(zrhost::parseQuestion(text + "\tdefault"));
    for (const auto& result : zrhost::ask(snapshot, question))
      lines.push_back(text + ": " + std::to_string(result.policyId) + " " + std::to_string(result.priority) + " " +
                      result.entityName + " " + result.rule.name + " " + result.rule.action);
  };
  const auto& cache = snapshot.cache();
  for (const auto& [key, link] : cache.m_mapUser)
    ask("user " + key);
  for (const auto& [key, link] : cache.m_mapGroup)
    ask("group " + key);
  for (const auto& [key, link] : cache.m_mapHostname)
    ask("host " + key);
  for (const auto& [key, link] : cache.m_mapOther)
    ask("other " + key);
  for (const char* address : {"10.0.0.7", "10.0.0.8", "192.0.2.1", "10.1.2.3"})
    ask(std::string("ip ") + address);
  return lines;
}

TEST_P(LiveLastGood, IsAPolicyDatabaseThatAnswersTheSame) {
  place->run(
      "INSERT INTO ep_link VALUES (800, 1, 'ren&#233;@example.org', 20, 5), (801, 3, 'Mixed.Example.Org', 13, 5),"
      " (802, 1, 'two@example.org', 14, 7), (803, 1, 'two@example.org', 21, 7), (804, 4, 'bad', 1, 1),"
      " (805, 6, 'it''s %s? {}', 14, -3); INSERT INTO group_member VALUES ('sales', 'two@example.org');");
  keepOnce();
  zrhost::DatabaseOptions kept;
  kept.file = database();
  kept.sqlDirectory = ZR_TEST_SCHEMA;
  zrhost::PolicyDatabase copy(kept);
  const auto lines = verdicts(*load());
  EXPECT_GT(lines.size(), 40u);
  EXPECT_EQ(verdicts(*zrhost::Snapshot::load(copy)), lines);
  EXPECT_EQ(outputOf("cd '" + state.path().string() + "' && ls -A"),
            "last_good.db\nlast_good.db-shm\nlast_good.db-wal\nlast_good.state\n")
      << "nothing is left lying about, and the log is that of this test's own connection";
}

TEST_P(LiveLastGood, IsAnsweredFromWithoutTheDatabaseAndItsAgeGoesOn) {
  keepOnce();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  auto lost = withoutDatabase();
  lost.maxAge = std::chrono::milliseconds(10);
  LiveLog log;
  log.attachTo(lost);
  LivePolicies policies(lost);
  policies.start();
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  EXPECT_EQ(actionFor(policies, "john@example.org"), "BCC archive@example.org");
  const auto status = policies.status();
  EXPECT_EQ(status.source, LiveSource::kLastGood);
  EXPECT_EQ(status.state, LiveState::kStale);
  EXPECT_GE(status.age, std::chrono::milliseconds(20));
  EXPECT_EQ(status.epoch, zrhost::PolicyDatabase(place->options()).revision().epoch);
  EXPECT_THAT(log.text(), HasSubstr("from the last good state"));
}

TEST_P(LiveLastGood, GivesWayToTheDatabaseAndStandsUpToAnEmptiedOne) {
  keepOnce();
  place->run("DELETE FROM ep_link");
  LivePolicies policies(options());
  policies.start();
  ASSERT_TRUE(comesTrue([&] { return policies.status().isHeldBack; }));
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  EXPECT_EQ(policies.status().source, LiveSource::kLastGood);
  EXPECT_EQ(actionFor(policies, "john@example.org"), "BCC archive@example.org");
  init(true, true);
  EXPECT_TRUE(comesTrue([&] { return policies.status().source == LiveSource::kDatabase; }));
  EXPECT_FALSE(policies.status().isHeldBack);
}

TEST_P(LiveLastGood, ThatIsDamagedIsNotAnsweredFrom) {
  const struct {
    const char* name;
    std::function<void()> damage;
  } cases[] = {
      {"a changed row", [&] { outputOf("sqlite3 '" + database() + "' \"" + setAction(20, "OK") + "\""); }},
      {"a lost row", [&] { outputOf("sqlite3 '" + database() + "' 'DELETE FROM ep_link WHERE link_id = 3'"); }},
      {"half a file", [&] { std::filesystem::resize_file(database(), 20000); }},
      {"no database", [&] { std::ofstream(database()) << "nothing of the kind"; }},
      {"another state", [&] { state.write("last_good.state", "{\"last_good\": [{\"revision\": 1}]}"); }},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    keepOnce();
    each.damage();
    auto lost = withoutDatabase();
    LiveLog log;
    log.attachTo(lost);
    {
      LivePolicies policies(lost);
      policies.start();
      ASSERT_TRUE(comesTrue([&] { return policies.status().failuresInARow > 2; }));
      EXPECT_TRUE(comesTrue([&] { return log.has("last_good.db"); }));
      EXPECT_EQ(policies.lease(), nullptr);
    }
  }
}

TEST_P(LiveLastGood, FolderBelongsToOneAtATime) {
  LivePolicies first(options());
  first.start();
  LivePolicies second(options());
  try {
    second.start();
    FAIL();
  } catch (const zrlive::LiveError& error) {
    EXPECT_EQ(error.kind(), zrlive::LiveError::Kind::kInputOutput);
    EXPECT_THAT(error.what(), HasSubstr("another process uses it"));
  }
}

// A process that keeps state after state, as fast as it can, is killed again and again.
TEST(LiveKeeper, ThatIsKilledAtAnyMomentLeavesAWholeState) {
  const auto place = makeSqlitePlace();
  zrhost::PolicyDatabase::init(place->options(), {true, false});
  TempFolder state;
  const std::string program = ZR_KEEP_PROGRAM, file = place->options().file, folder = state.path().string(),
                    database = state.file("last_good.db");
  for (int round = 0; round < 15; ++round) {
    const pid_t pid = fork();
    if (pid == 0) {
      execl(program.c_str(), program.c_str(), file.c_str(), folder.c_str(), ZR_TEST_SCHEMA, nullptr);
      _exit(127);
    }
    ASSERT_TRUE(comesTrue([&] { return std::filesystem::exists(database); }));
    for (int change = 0; change < 5; ++change)
      place->run(setAction(20, "R" + std::to_string(round) + std::to_string(change)));
    std::this_thread::sleep_for(std::chrono::milliseconds(7 * round));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    auto lost = quick(place->options(), folder);
    lost.databaseFile += ".none";
    LivePolicies policies(lost);
    policies.start();
    ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1))) << "round " << round;
    EXPECT_EQ(policies.lease()->counts().links(), 33u);
  }
}

}  // namespace
}  // namespace zrtest
