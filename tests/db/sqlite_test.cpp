#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/log_capture.h"
#include "common/odbc_entries.h"
#include "db/ZrDataAccess.h"
#include "db/thrown.h"

namespace {

using testing::HasSubstr;
using zrtest::thrown;

class Sqlite : public testing::Test {
 protected:
  Sqlite() {
    entries.addSqlite(source);
    pool.setDbReconnectTrial(1);
    pool.setDbRetrialTimeOut(0);
    pool.init("", 2, source.c_str(), "", "");
    connect = pool.getConnect();
  }
  std::string run(const std::string& sql) {
    return thrown([&] { connect->executeSQL(sql.c_str(), ZrDbConnect::SQLTYPE_ANSI); });
  }

  zrtest::LogCapture log;
  zrtest::OdbcEntries entries;
  const std::string source = zrtest::OdbcEntries::freshName();
  ZrDataAccess pool;
  ZrDbConnect* connect = nullptr;
};

TEST_F(Sqlite, ValuesOfAnyKindAndLengthComeBackWhole) {
  const std::string large(200000, 'y');
  ASSERT_EQ(run("CREATE TABLE t (n INTEGER, s TEXT, big BIGINT, b BLOB)"), "");
  ASSERT_EQ(run("INSERT INTO t VALUES (1, '" + large + "', 9000000000, x'00ff'), (NULL, NULL, NULL, NULL)"), "");
  EXPECT_EQ(connect->getRowCount(), 2);
  EXPECT_EQ(connect->fetchNextRow(), 1);
  ASSERT_EQ(run("SELECT n, s, big, b, 'x' AS after FROM t"), "");
  ASSERT_EQ(connect->fetchNextRow(), 0);
  EXPECT_EQ(connect->getColValInt("N"), 1);
  EXPECT_EQ(connect->getColVal("s"), large);
  EXPECT_EQ(connect->getColValLongLong("big"), 9000000000LL);
  EXPECT_STREQ(connect->getColVal("b"), "BINARY DATA");
  EXPECT_STREQ(connect->getColVal("after"), "x");
  ASSERT_EQ(connect->fetchNextRow(), 0);
  for (const char* name : {"n", "s", "big"})
    EXPECT_STREQ(connect->getColVal(name), "");
  EXPECT_EQ(connect->fetchNextRow(), 1);
  EXPECT_STREQ(connect->getColVal("after"), "x");  // the last row stays
  EXPECT_EQ(connect->fetchNextResultSet(), 1);
}

TEST_F(Sqlite, FailedStatementIsLoggedWithItsReasonAndTheNextOneWorks) {
  log.clear();
  EXPECT_EQ(run("SELECT * FROM nowhere"), "Failed to execute SQL");
  ASSERT_EQ(log.texts(1).size(), 1U);
  EXPECT_THAT(log.texts(1)[0], testing::StartsWith("Failed to execute SQL::SELECT * FROM nowhere - "));
  EXPECT_THAT(log.texts(1)[0], HasSubstr("no such table"));
  EXPECT_EQ(connect->getState(), 6);
  EXPECT_EQ(run("SELECT 1 AS x, 2 AS X"), "Failed to insert column object into map");
  EXPECT_EQ(connect->getState(), 2);
  EXPECT_EQ(run("SELECT 1 AS x"), "");
}

TEST_F(Sqlite, BrokenConnectionIsReplacedWhenNextLent) {
  run("nonsense");
  ZrDbConnect* other = pool.getConnect();
  pool.returnConnect(connect);
  connect = pool.getConnect();
  EXPECT_EQ(connect->getConnID(), 1);
  EXPECT_EQ(connect->getState(), 2);
  EXPECT_EQ(pool.m_vecConnect, (std::vector<ZrDbConnect*>{connect, other}));
  EXPECT_EQ(run("SELECT 1"), "");
}

TEST_F(Sqlite, UnknownSourceCannotBeConnected) {
  EXPECT_EQ(thrown([&] { pool.init("", 1, "elsewhere", "", ""); }), "Failed to create connection.");
  EXPECT_EQ(pool.m_poolReady, 0);
}

}  // namespace
