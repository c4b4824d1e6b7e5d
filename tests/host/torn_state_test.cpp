#include <atomic>
#include <thread>

#include "db/ZrDataAccess.h"
#include "host/host_test_support.h"

using zrhost::PolicyDatabase;
using zrhost::Snapshot;

namespace zrtest {
namespace {

constexpr int kPolicies = 40;
constexpr int kWrites = 30;

class TornState : public EveryDatabase {};
INSTANTIATE_TEST_SUITE_P(, TornState, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

// Each change gives every policy, rule and link the same new number, in one transaction, by way of a state in which the
// links have none of their policies' numbers.
std::string change(int number) {
  const std::string text = std::to_string(number);
  return "BEGIN; DELETE FROM ep_link; UPDATE policy SET policy_type = " + text + "; UPDATE policy_rule SET action = '" +
         text + "'; INSERT INTO ep_link SELECT policy_id, 6, '" + text + "', policy_id, 1 FROM policy; COMMIT;";
}

void expectWhole(const Snapshot& snapshot) {
  const ZrPolicyCache& cache = snapshot.cache();
  ASSERT_EQ(snapshot.report().refused, 0u);
  ASSERT_EQ(cache.m_mapPolicy.size(), static_cast<std::size_t>(kPolicies));
  ASSERT_EQ(cache.m_mapOther.size(), static_cast<std::size_t>(kPolicies));
  const std::string expected = std::to_string(cache.m_mapPolicy.begin()->second->m_policyType);
  for (const auto& [id, policy] : cache.m_mapPolicy)
    ASSERT_EQ(std::to_string(policy->m_policyType), expected);
  for (const auto& [name, link] : cache.m_mapOther)
    ASSERT_EQ(name, expected);
}

TEST_P(TornState, ReadersSeeWholeTransactionsOnlyAndTheRevisionTellsThemApart) {
  init();
  std::string fill = "BEGIN;";
  for (int id = 1; id <= kPolicies; ++id) {
    fill += "INSERT INTO policy VALUES (" + std::to_string(id) + ", 0, 'p', 0); INSERT INTO policy_rule VALUES (" +
            std::to_string(id) + ", 1, 1, 247, 'r', 0, '0');";
  }
  place->run(fill + "COMMIT;" + change(0));
  auto options = place->options();
  options.poolSize = 2;
  PolicyDatabase database(options);

  std::atomic<bool> writing{true};
  std::thread writer([&] {
    for (int number = 1; number <= kWrites; ++number)
      place->run(change(number));
    writing = false;
  });
  const auto reader = [&] {
    std::int64_t lastRevision = 0;
    int lastType = -1;
    while (writing) {
      const auto snapshot = Snapshot::load(database);
      expectWhole(*snapshot);
      const int type = snapshot->cache().m_mapPolicy.begin()->second->m_policyType;
      const std::int64_t revision = snapshot->report().revision.revision;
      EXPECT_GE(type, lastType);
      EXPECT_EQ(revision == lastRevision, type == lastType);
      lastRevision = revision;
      lastType = type;
    }
  };
  std::thread second(reader);
  reader();
  second.join();
  writer.join();
}

// The first writer keeps a policy to itself and then links to it, the second links to it, the third changes the same
// tables in another order.
TEST(Writers, NeverDeadlockWhateverTheOrderOfTheirTables) {
  const auto place = makePostgresPlace();
  PolicyDatabase::init(place->options(), {true, false});
  place->run("CREATE SEQUENCE ids START 1000");
  const auto before = PolicyDatabase(place->options()).revision().revision;
  const std::string link = "INSERT INTO ep_link VALUES (nextval('ids'), 6, 'x', 1, 1)";
  const std::vector<std::string> writers[] = {
      {"SELECT policy_id FROM policy WHERE policy_id = 1 FOR UPDATE", link, "UPDATE policy SET policy_type = 1"},
      {link, link},
      {"UPDATE ep_link SET priority = 2 WHERE link_id = 1", "DELETE FROM group_member"}};
  ZrDataAccess pool;
  pool.init("", 3, place->options().dsn.c_str(), PostgresServer::kUser, "");
  std::vector<std::thread> threads;
  for (const auto& statements : writers) {
    threads.emplace_back([&] {
      ZrDbConnect* connection = pool.getConnect();
      const auto run = [&](const std::string& sql) {
        EXPECT_NO_THROW(connection->executeSQL(sql.c_str(), ZrDbConnect::SQLTYPE_ANSI)) << sql;
      };
      for (int round = 0; round < 50; ++round) {
        run("BEGIN");
        for (const std::string& sql : statements)
          run(sql);
        run("COMMIT");
      }
      pool.returnConnect(connection);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(PolicyDatabase(place->options()).revision().revision, before + 150);
}

}  // namespace
}  // namespace zrtest
