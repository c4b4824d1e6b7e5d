#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <thread>

#include "common/odbc_entries.h"
#include "db/ZrDataAccess.h"
#include "support/PolicyLog.h"

namespace {

// Borrows, works and returns until `rounds` connections were lent; every tenth comes back broken.
void borrow(ZrDataAccess& pool, int rounds, std::atomic<int>& unexpected) {
  for (int lent = 0; lent < rounds;) {
    ZrDbConnect* connect = nullptr;
    try {
      connect = pool.getConnect();
      const bool breaks = ++lent % 10 == 0;
      connect->executeSQL(breaks ? "nonsense" : "SELECT 7 AS n", ZrDbConnect::SQLTYPE_ANSI);
      if (breaks || connect->fetchNextRow() != 0 || connect->getColValInt("n") != 7) ++unexpected;
    } catch (const char* text) {
      const bool expected = connect != nullptr ? lent % 10 == 0 : std::strchr("CO", *text) != nullptr;
      if (!expected) ++unexpected;  // a pool answers "Connection pool is not ready." or "Out of Db connection in pool."
    }
    if (connect != nullptr) pool.returnConnect(connect);
    std::this_thread::yield();
  }
}

TEST(Pool, BorrowersReturnersAndReinitMayRunAtOnce) {
  PolicyLog::ms_level = 0;  // refusals are many here, and expected
  zrtest::OdbcEntries entries;
  entries.addSqlite("policies");
  ZrDataAccess pool;
  pool.init("", 3, "policies", "", "");
  std::atomic<int> unexpected{0};
  std::thread threads[4];
  for (std::thread& thread : threads)
    thread = std::thread([&] { borrow(pool, 50, unexpected); });
  for (int i = 0; i < 10; ++i) {
    if (!pool.reinit()) ++unexpected;
    std::this_thread::yield();
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(unexpected, 0);
  const auto& idle = pool.m_deqIdleConnect;  // each connection once
  EXPECT_EQ(std::set<ZrDbConnect*>(idle.begin(), idle.end()).size(), pool.m_vecConnect.size());
}

}  // namespace
