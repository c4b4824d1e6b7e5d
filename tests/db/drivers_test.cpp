#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

#include "common/log_capture.h"
#include "common/odbc_entries.h"
#include "common/postgres_server.h"
#include "db/ZrDataAccess.h"
#include "db/thrown.h"

namespace {

using zrtest::PostgresServer;
using zrtest::thrown;

enum class Kind { kSqlite, kPostgres };

// A pool of two connections to a new database of the real thing, one of them lent.
class Database : public testing::TestWithParam<Kind> {
 protected:
  void SetUp() override { open(GetParam()); }
  void open(Kind kind) {
    if (kind == Kind::kSqlite) {
      entries.addSqlite(source);
    } else {
      if (!PostgresServer::installed()) GTEST_SKIP() << "no PostgreSQL server on this machine";
      entries.addPostgres(source, PostgresServer::shared().socketFolder(), PostgresServer::shared().createDatabase());
    }
    pool.setDbReconnectTrial(1);
    pool.setDbRetrialTimeOut(0);
    pool.init("", 2, source.c_str(), PostgresServer::kUser, "");
    connect = pool.getConnect();
  }
  std::string run(const std::string& sql, ZrDbConnect::SQL_TYPE type = ZrDbConnect::SQLTYPE_ANSI) {
    return thrown([&] { connect->executeSQL(sql.c_str(), type); });
  }

  zrtest::LogCapture log;
  zrtest::OdbcEntries entries;
  const std::string source = zrtest::OdbcEntries::freshName();
  ZrDataAccess pool;
  ZrDbConnect* connect = nullptr;
};

TEST_P(Database, ValuesOfAnyKindAndLengthComeBackWhole) {
  const std::string large(200000, 'y');
  const bool sqlite = GetParam() == Kind::kSqlite;
  ASSERT_EQ(run(std::string("CREATE TABLE t (n INTEGER, s TEXT, big BIGINT, b ") + (sqlite ? "BLOB)" : "BYTEA)")), "");
  const std::string bytes = sqlite ? "x'00ff'" : "'\\x00ff'";
  ASSERT_EQ(run("INSERT INTO t VALUES (1, '" + large + "', 9000000000, " + bytes +
                "), (NULL, NULL, NULL, NULL), (2, '', 2, NULL)"),
            "");
  EXPECT_EQ(connect->getRowCount(), 3);
  ASSERT_EQ(run("SELECT n, s, big, b, 'x' AS after FROM t"), "");
  ASSERT_EQ(connect->fetchNextRow(), 0);
  EXPECT_EQ(connect->getColValInt("N"), 1);
  EXPECT_EQ(connect->getColVal("s"), large);
  EXPECT_EQ(connect->getColValLongLong("big"), 9000000000LL);
  EXPECT_STREQ(connect->getColVal("b"), "BINARY DATA");
  ASSERT_EQ(connect->fetchNextRow(), 0);
  for (const char* name : {"n", "s", "big"}) {
    EXPECT_STREQ(connect->getColVal(name), "");
    EXPECT_TRUE(connect->m_mapColumn.at(name)->m_isNull) << name;
  }
  ASSERT_EQ(connect->fetchNextRow(), 0);
  EXPECT_STREQ(connect->getColVal("s"), "");  // there, and empty
  EXPECT_FALSE(connect->m_mapColumn.at("S")->m_isNull);
  EXPECT_EQ(connect->fetchNextRow(), 1);
  EXPECT_STREQ(connect->getColVal("after"), "x");  // the last row stays
  EXPECT_EQ(connect->fetchNextResultSet(), 1);
}

TEST_P(Database, FailedStatementIsLoggedWithItsReasonAndItsConnectionReplaced) {
  log.clear();
  EXPECT_EQ(run("SELECT * FROM nowhere"), "Failed to execute SQL");
  EXPECT_THAT(log.texts(1), testing::ElementsAre(
                                testing::AllOf(testing::StartsWith("Failed to execute SQL::SELECT * FROM nowhere - "),
                                               testing::HasSubstr("nowhere"), testing::HasSubstr("[NativeErr:"))));
  ZrDbConnect* other = pool.getConnect();
  pool.returnConnect(connect);
  connect = pool.getConnect();
  EXPECT_EQ(pool.m_vecConnect, (std::vector<ZrDbConnect*>{connect, other}));
  EXPECT_EQ(run("SELECT 1"), "");
}

INSTANTIATE_TEST_SUITE_P(Real, Database, testing::Values(Kind::kSqlite, Kind::kPostgres));

class Postgres : public Database {
 protected:
  void SetUp() override { open(Kind::kPostgres); }
};

TEST_F(Postgres, StreamsAreStoredAsBase64OfTheirChunksAndWideStatementsKeepTheirLetters) {
  std::ifstream large(entries.folder().write("large", std::string(65535, '\xFF') + "?Man"), std::ios::binary);
  std::ifstream small(entries.folder().write("small", "Man"), std::ios::binary);
  ASSERT_EQ(run("CREATE TABLE t (n int, large text, small text)"), "");
  connect->executeSQL("INSERT INTO t VALUES (1, ?, ?)", ZrDbConnect::SQLTYPE_ANSI, &large, &small);
  ASSERT_EQ(run("SELECT large, small, '\xCE\xB1\xF0\x9F\x98\x80' AS n FROM t", ZrDbConnect::SQLTYPE_UNICODE), "");
  ASSERT_EQ(connect->fetchNextRow(), 0);
  EXPECT_STREQ(connect->getColVal("small"), "TWFu");
  EXPECT_EQ(connect->getColVal("large"), std::string(87380, '/') + "Pw==TWFu");
  EXPECT_STREQ(connect->getColVal("n"), "\xCE\xB1\xF0\x9F\x98\x80");
}

TEST_F(Postgres, ResultSetsFollowOneAnotherOverThoseWithoutColumns) {
  ASSERT_EQ(run("CREATE TABLE t (n int)"), "");
  ASSERT_EQ(run("INSERT INTO t VALUES (1); SELECT 1 AS a; DELETE FROM t; SELECT 2 AS b; CREATE TABLE u (n int)"), "");
  EXPECT_EQ(connect->m_resultSetNo, 2);
  EXPECT_EQ(connect->fetchNextResultSet(), 0);
  EXPECT_TRUE(connect->m_resultSetNo == 4 && connect->fetchNextRow() == 0 && connect->getColValInt("b") == 2);
  EXPECT_EQ(connect->fetchNextResultSet(), 0);  // only one without columns is left
  EXPECT_EQ(connect->m_columnCount, 0);
  EXPECT_EQ(connect->fetchNextResultSet(), 1);
}

TEST_F(Postgres, PoolComesBackWithTheServer) {
  pool.returnConnect(connect);
  PostgresServer::shared().stop();
  log.clear();
  EXPECT_FALSE(pool.reinit());
  EXPECT_THAT(log.texts(1),
              testing::ElementsAre("ZrDataAccess::reinit: Failed to re-initialize the connection pool (dsn: " + source +
                                   " user: postgres)."));
  connect = pool.getConnect();
  EXPECT_EQ(connect->getConnID(), 2);  // the order of the queue is kept
  EXPECT_EQ(connect->getState(), 1);
  EXPECT_EQ(run("SELECT 1"), "Connection is not ready.");
  pool.returnConnect(connect);
  PostgresServer::shared().start();
  EXPECT_TRUE(pool.reinit());
  connect = pool.getConnect();
  EXPECT_EQ(run("SELECT 1"), "");
}

}  // namespace
