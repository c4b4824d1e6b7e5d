#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

#include "common/odbc_entries.h"
#include "db/ZrDataAccess.h"
#include "support/PolicyLog.h"

namespace {

// Borrows, works and returns until `rounds` connections were lent; some of them come back broken.
int borrow(ZrDataAccess& pool, int rounds, std::atomic<int>& unexpected) {
  int lent = 0;
  while (lent < rounds) {
    try {
      ZrDbConnect* connect = pool.getConnect();
      const bool breaks = ++lent % 10 == 0;
      try {
        connect->executeSQL(breaks ? "nonsense" : "SELECT 7 AS n", ZrDbConnect::SQLTYPE_ANSI);
        if (connect->fetchNextRow() != 0 || connect->getColValInt("n") != 7) ++unexpected;
      } catch (const char*) {
        if (!breaks) ++unexpected;
      }
      pool.returnConnect(connect);
    } catch (const char* text) {
      if (std::strstr(text, "not ready") == nullptr && std::strstr(text, "Out of") == nullptr) ++unexpected;
      std::this_thread::yield();
    }
  }
  return lent;
}

TEST(Pool, BorrowersReturnersAndReinitMayRunAtOnce) {
  PolicyLog::ms_level = 0;  // refusals are many here, and expected
  zrtest::OdbcEntries entries;
  entries.addSqlite("policies");
  ZrDataAccess pool;
  pool.init("", 3, "policies", "", "");
  std::atomic<int> unexpected{0}, lent{0};
  std::thread threads[4];
  for (std::thread& thread : threads)
    thread = std::thread([&] { lent += borrow(pool, 50, unexpected); });
  for (int i = 0; i < 10; ++i) {
    if (!pool.reinit()) ++unexpected;
    std::this_thread::yield();
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(unexpected, 0);
  EXPECT_EQ(lent, 200);
  int ids = 0;
  for (int i = 0; i < 3; ++i)
    ids += 1 << pool.getConnect()->getConnID();
  EXPECT_EQ(ids, 2 + 4 + 8);  // each connection is idle once
}

}  // namespace
