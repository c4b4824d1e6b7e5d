#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

#include "common/odbc_entries.h"
#include "common/postgres_server.h"
#include "host/database/PolicyDatabase.h"
#include "live/LivePolicies.h"
#include "support/PolicyLog.h"

// One mail host that reads from a standby near to it, while the primary dies and the standby takes its place.

namespace {

using zrtest::OdbcEntries;
using zrtest::PostgresServer;

constexpr auto kLongest = std::chrono::seconds(60);

template <typename Condition>
bool waitFor(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

void makeDatabase(const PostgresServer& primary, OdbcEntries& entries) {
  entries.addPostgres("primary", primary.socketFolder(), "postgres");
  zrhost::DatabaseOptions options;
  options.dsn = "primary";
  options.user = PostgresServer::kUser;
  options.sqlDirectory = ZR_TEST_SCHEMA;
  zrhost::PolicyDatabase::init(options, {});
  primary.run("postgres",
              "INSERT INTO policy VALUES (1, 1, 'first', 0), (2, 1, 'second', 0);"
              "INSERT INTO policy_rule (policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action) "
              "VALUES (1, 1, 1, 247, 'r', 0, 'REJECT one'), (2, 1, 2, 247, 'r', 0, 'REJECT two');"
              "INSERT INTO ep_link VALUES (1, 1, 'john', 1, 10)");
}

zrlive::LiveOptions optionsFor(const std::string& dataSource) {
  zrlive::LiveOptions options;
  options.dataSource = dataSource;
  options.user = PostgresServer::kUser;
  options.sqlDirectory = ZR_TEST_SCHEMA;
  options.connectTimeout = std::chrono::seconds(2);
  options.poll = options.reloadInterval = options.firstPause = std::chrono::milliseconds(50);
  options.longestPause = std::chrono::milliseconds(200);
  return options;
}

// What the policies in force say about John: the action of his one policy, or what is wrong.
std::string verdict(const zrlive::LivePolicies& policies) {
  const auto snapshot = policies.lease();
  if (snapshot == nullptr) return "refused";
  zrlive::Question question;
  zrlive::Answer answer;
  question.addUser("john");
  snapshot->ask(question, answer);
  return answer.size() == 1 ? std::string(answer[0].action) : "wrong";
}

class Replica : public testing::Test {
 protected:
  void SetUp() override {
    if (!PostgresServer::installed()) GTEST_SKIP() << "PostgreSQL is not installed";
    PolicyLog::ms_level = PolicyLog::LEVEL_ERROR;
    primary.emplace();
    makeDatabase(*primary, entries);
    standby.emplace(*primary);
    // libpq takes the list: the nearest first, the others when that one does not answer.
    entries.addPostgres("nearest", standby->socketFolder() + "," + primary->socketFolder(), "postgres");
    entries.addPostgres("writable", primary->socketFolder() + "," + standby->socketFolder(), "postgres",
                        "PostgreSQL Unicode", "pqopt=target_session_attrs=read-write\n");
  }

  OdbcEntries entries;
  std::optional<PostgresServer> primary, standby;
};

TEST_F(Replica, ThatToldItsLagIsLeftWithoutATransaction) {
  zrhost::DatabaseOptions options;
  options.dsn = "nearest";
  options.user = PostgresServer::kUser;
  options.sqlDirectory = ZR_TEST_SCHEMA;
  zrhost::PolicyDatabase database(options);
  EXPECT_TRUE(waitFor([&] { return database.standbyLag().has_value(); }));
  EXPECT_EQ(standby->run("postgres", "SELECT count(*) FROM pg_stat_activity WHERE state LIKE 'idle in trans%'"), "0\n");
}

TEST_F(Replica, StandbyThatTakesOverGoesOnAnsweringWithoutAWrongWord) {
  zrlive::LivePolicies nearest(optionsFor("nearest")), writable(optionsFor("writable"));
  for (zrlive::LivePolicies* policies : {&nearest, &writable}) {
    policies->start();
    ASSERT_TRUE(policies->waitForSnapshot(kLongest)) << policies->status().lastError;
  }
  EXPECT_TRUE(waitFor([&] { return nearest.status().hasStandbyLag; })) << "the standby tells how far it is behind";
  EXPECT_FALSE(writable.status().hasStandbyLag);

  std::atomic<bool> ended{false};
  std::atomic<int> wrong{0};
  std::thread mails([&] {
    while (!ended) {
      for (const zrlive::LivePolicies* policies : {&nearest, &writable}) {
        const std::string said = verdict(*policies);
        if (said != "REJECT one" && said != "REJECT two") ++wrong;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  const auto bothSay = [&](const std::string& action) {
    return waitFor([&] { return verdict(nearest) == action && verdict(writable) == action; });
  };
  primary->run("postgres", "UPDATE ep_link SET policy_id = 2");
  EXPECT_TRUE(bothSay("REJECT two")) << "a change arrives through the standby";

  primary->stop(true);
  standby->promote();
  EXPECT_TRUE(waitFor([&] { return !nearest.status().hasStandbyLag; })) << "it is no standby any more";
  standby->run("postgres", "UPDATE ep_link SET policy_id = 1");
  EXPECT_TRUE(bothSay("REJECT one")) << nearest.status().lastError << " / " << writable.status().lastError;

  ended = true;
  mails.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
