#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sstream>
#include <thread>

#include "live/live_test_support.h"
#include "live/status_board_internal.h"

using testing::HasSubstr;

namespace zrtest {
namespace {

class LiveCurrent : public LiveTest {};
INSTANTIATE_TEST_SUITE_P(, LiveCurrent, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

TEST_P(LiveCurrent, AChangeIsAnsweredFromWithoutAnybodyAsking) {
  LivePolicies policies(quick(place->options()));
  EXPECT_EQ(policies.state(), LiveState::kUnavailable);
  policies.start();
  ASSERT_TRUE(comesTrue([&] { return actionFor(policies, "new@example.org") == "DUNNO"; }));
  const auto old = policies.lease();
  place->run(addPolicy(500, "new@example.org", "REJECT"));
  EXPECT_TRUE(comesTrue([&] { return actionFor(policies, "new@example.org") == "REJECT"; }));

  const auto now = policies.lease();
  EXPECT_GT(now->revision(), old->revision());
  EXPECT_NE(now->generation(), old->generation());
  EXPECT_EQ(now->counts().links(), old->counts().links() + 1);
  ASSERT_TRUE(comesTrue([&] { return policies.status().revision == now->revision(); }));
  const auto status = policies.status();
  EXPECT_EQ(status.state, LiveState::kReady);
  EXPECT_EQ(status.source, LiveSource::kDatabase);
  EXPECT_EQ(status.epoch, now->epoch());
  EXPECT_TRUE(status.counts.hasDefaultPolicy);
  EXPECT_GE(status.loadsDone, 2u);
}

TEST_P(LiveCurrent, RowsThatCannotBeUsedAreCountedAndTenAreTold) {
  auto options = quick(place->options());
  LiveLog log;
  log.attachTo(options);
  std::string sql;
  for (int i = 0; i < 12; ++i)
    sql += "INSERT INTO ep_link VALUES (" + std::to_string(900 + i) + ", 4, 'no address', 1, 1);";
  place->run(sql);
  LivePolicies policies(options);
  policies.start();
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  EXPECT_EQ(policies.status().counts.refusedRows, 12u);
  EXPECT_THAT(log.text(), HasSubstr("left out: ep_link, link_id 909"));
  EXPECT_FALSE(log.has("link_id 910"));
  EXPECT_THAT(log.text(), HasSubstr("12 rows were left out in all"));
}

TEST_P(LiveCurrent, ALoadThatFailsKeepsTheLastSnapshotAndSaysWhy) {
  LivePolicies policies(quick(place->options()));
  policies.start();
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  place->run("UPDATE policy SET policy_type = 7; ALTER TABLE ep_link RENAME TO elsewhere");
  EXPECT_EQ(policies.reload(false, std::chrono::minutes(1)), LivePolicies::Reload::kFailed);
  EXPECT_THAT(policies.status().lastError, HasSubstr("ep_link"));
  EXPECT_EQ(policies.status().state, LiveState::kReady);
  EXPECT_EQ(actionFor(policies, "john@example.org"), "BCC archive@example.org");
  EXPECT_TRUE(comesTrue([&] { return policies.status().failuresInARow > 2; })) << "it is tried again by itself";
  place->run("ALTER TABLE elsewhere RENAME TO ep_link;" + addPolicy(500, "new@example.org", "REJECT"));
  EXPECT_TRUE(comesTrue([&] { return actionFor(policies, "new@example.org") == "REJECT"; }));
  EXPECT_TRUE(comesTrue([&] { return policies.status().lastError.empty(); }));
}

TEST_P(LiveCurrent, AStateThatLooksLikeAMistakeWaitsForAWordOrForBecomingSound) {
  const struct {
    const char* name;
    const char* mistake;
    const char* reason;
  } cases[] = {{"links", "DELETE FROM ep_link WHERE link_id > 2", "links are left"},
               {"default", "UPDATE policy SET is_default = 0", "the default policy is gone"}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    init(true, true);
    LivePolicies policies(quick(place->options()));
    policies.start();
    ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
    const auto links = policies.lease()->counts().links();
    place->run(each.mistake);
    ASSERT_TRUE(comesTrue([&] { return policies.status().isHeldBack; }));
    EXPECT_THAT(policies.status().heldReason, HasSubstr(each.reason));
    EXPECT_GT(policies.status().heldRevision, policies.lease()->revision());
    EXPECT_EQ(actionFor(policies, "john@example.org"), "BCC archive@example.org");
    EXPECT_EQ(policies.reload(false, std::chrono::minutes(1)), LivePolicies::Reload::kHeldBack);
    EXPECT_EQ(policies.lease()->counts().links(), links);
    EXPECT_EQ(policies.reload(true, std::chrono::minutes(1)), LivePolicies::Reload::kLoaded);
    EXPECT_FALSE(policies.status().isHeldBack);
    EXPECT_EQ(policies.lease()->revision(), policies.status().revision);

    place->run(
        "DELETE FROM policy_rule WHERE policy_id > 1; DELETE FROM ep_link; DELETE FROM policy WHERE policy_id > 1");
    ASSERT_TRUE(comesTrue([&] { return policies.status().isHeldBack; }));
    init(true, true);
    EXPECT_TRUE(comesTrue([&] { return policies.lease()->counts().links() == links; })) << "sound again";
    EXPECT_TRUE(comesTrue([&] { return !policies.status().isHeldBack; }));
  }
}

TEST(LiveReload, AnAcceptHoldsForNoReloadThatWasAskedForWhileItsOwnWasUnderWay) {
  zrlive::StatusBoard board(std::chrono::milliseconds(0));
  board.wantReload(true);
  const zrlive::ReloadWish first = board.wish();
  board.wantReload(false);
  board.fulfil(first, LivePolicies::Reload::kLoaded);
  EXPECT_EQ(std::make_pair(first.accept, board.wish().accept), std::make_pair(true, false));
}

TEST_P(LiveCurrent, WhatTheDatabaseDoesNotConfirmBecomesStale) {
  auto options = quick(place->options());
  options.maxAge = std::chrono::seconds(2);
  LivePolicies policies(options);
  policies.start();
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  EXPECT_EQ(policies.state(), LiveState::kReady);
  place->run("ALTER TABLE policy_revision RENAME TO elsewhere");
  EXPECT_TRUE(comesTrue([&] { return policies.state() == LiveState::kStale; }));
  EXPECT_GE(policies.status().age, options.maxAge);
  EXPECT_EQ(actionFor(policies, "john@example.org"), "BCC archive@example.org");
  place->run("ALTER TABLE elsewhere RENAME TO policy_revision");
  EXPECT_TRUE(comesTrue([&] { return policies.state() == LiveState::kReady; }));
}

// Both files have the same epoch and revision, and other actions.
TEST(LiveFile, ThatIsPutInThePlaceOfAnotherIsNoticed) {
  const auto place = makeSqlitePlace();
  zrhost::PolicyDatabase::init(place->options(), {true, false});
  const std::string file = place->options().file, other = file + ".other";
  std::filesystem::copy_file(file, other);
  place->run(setAction(20, "HOLD"));
  outputOf("sqlite3 '" + other + "' \"" + setAction(20, "REJECT") + "\"");
  LivePolicies policies(quick(place->options()));
  policies.start();
  ASSERT_TRUE(comesTrue([&] { return actionFor(policies, "john@example.org") == "HOLD"; }));
  const auto revision = policies.lease()->revision();
  std::filesystem::rename(other, file);
  EXPECT_TRUE(comesTrue([&] { return actionFor(policies, "john@example.org") == "REJECT"; }));
  EXPECT_EQ(policies.lease()->revision(), revision);

  std::filesystem::rename(file, other);
  EXPECT_TRUE(comesTrue([&] { return policies.status().lastError.find("no such file") != std::string::npos; }));
  EXPECT_EQ(actionFor(policies, "john@example.org"), "REJECT");
  std::filesystem::rename(other, file);
  EXPECT_TRUE(comesTrue([&] { return policies.status().lastError.empty(); }));
}

TEST(LiveServer, ThatIsKilledAndStartedAgainIsReadAgain) {
  PostgresServer server;
  OdbcEntries entries;
  const std::string name = OdbcEntries::freshName(), database = server.createDatabase();
  entries.addPostgres(name, server.socketFolder(), database);
  zrhost::DatabaseOptions options;
  options.dsn = name;
  options.user = PostgresServer::kUser;
  options.sqlDirectory = ZR_TEST_SCHEMA;
  zrhost::PolicyDatabase::init(options, {true, false});
  LivePolicies policies(quick(options));
  policies.start();
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  const auto loads = policies.status().loadsDone;
  server.stop(true);
  EXPECT_TRUE(comesTrue([&] {  // the first of them may be met while the server goes
    return policies.status().lastError.find("check that it runs") != std::string::npos;
  })) << policies.status().lastError;
  EXPECT_EQ(actionFor(policies, "john@example.org"), "BCC archive@example.org");
  server.start();
  EXPECT_TRUE(comesTrue([&] { return policies.status().lastError.empty(); }));
  EXPECT_EQ(policies.status().loadsDone, loads) << "nothing has changed meanwhile";
  server.run(database, setAction(20, "REJECT"));
  EXPECT_TRUE(comesTrue([&] { return actionFor(policies, "john@example.org") == "REJECT"; }));
}

// The processes of the server that serve the loaders are stopped, so that they say nothing any more, also to one that
// logs in.
TEST(LiveServer, ThatSaysNothingLeavesThreeLoadersStandingAndNoMore) {
  const auto place = makePostgresPlace();
  zrhost::PolicyDatabase::init(place->options(), {true, false});
  auto options = quick(place->options());
  options.readTimeout = std::chrono::milliseconds(200);
  options.connectTimeout = std::chrono::seconds(1);
  LivePolicies policies(options);
  policies.start();
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  const std::string backends =
      "SELECT pid FROM pg_stat_activity WHERE datname = current_database() AND pid <> pg_backend_pid()";
  std::set<std::string> stopped;
  EXPECT_TRUE(comesTrue([&] {
    std::istringstream lines(place->run(backends));
    for (std::string pid; std::getline(lines, pid);)
      if (stopped.insert(pid).second) outputOf("kill -STOP " + pid + " || true");
    return policies.status().loadersStanding == 3;
  }));
  EXPECT_THAT(policies.status().lastError, HasSubstr("no answer from data source"));
  const auto failures = policies.status().failuresInARow;
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(policies.status().failuresInARow, failures) << "a fourth one was tried";
  EXPECT_EQ(actionFor(policies, "john@example.org"), "BCC archive@example.org");
  for (const std::string& pid : stopped)
    outputOf("kill -CONT " + pid + " || true");
  EXPECT_TRUE(comesTrue([&] { return policies.status().loadersStanding == 0; }));
  place->run(setAction(20, "REJECT"));
  EXPECT_TRUE(comesTrue([&] { return actionFor(policies, "john@example.org") == "REJECT"; }));
}

}  // namespace
}  // namespace zrtest
