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

TEST(TwoWriters, NeverDeadlockWhateverTheOrderOfTheirTables) {
  const auto place = makePostgresPlace();
  PolicyDatabase::init(place->options(), {true, false});
  const auto before = PolicyDatabase(place->options()).revision().revision;
  ZrDataAccess pool;
  pool.init("", 2, place->options().dsn.c_str(), PostgresServer::kUser, "");
  const auto write = [&](const char* first, const char* second) {
    ZrDbConnect* connection = pool.getConnect();
    for (int round = 0; round < 50; ++round)
      for (const char* sql : {"BEGIN", first, second, "COMMIT"})
        EXPECT_NO_THROW(connection->executeSQL(sql, ZrDbConnect::SQLTYPE_ANSI)) << sql;
    pool.returnConnect(connection);
  };
  std::thread other(write, "UPDATE policy SET policy_type = 1", "UPDATE ep_link SET priority = 1");
  write("UPDATE ep_link SET priority = 2", "UPDATE policy SET policy_type = 2");
  other.join();
  EXPECT_EQ(PolicyDatabase(place->options()).revision().revision, before + 200);
}

}  // namespace
}  // namespace zrtest
