#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/log_capture.h"
#include "common/odbc_entries.h"
#include "common/postgres_server.h"
#include "db/ZrDataAccess.h"
#include "db/thrown.h"
#include "support/base64.h"

namespace {

using zrtest::PostgresServer;
using zrtest::thrown;

class Postgres : public testing::Test {
 protected:
  void SetUp() override {
    if (!PostgresServer::installed()) GTEST_SKIP() << "no PostgreSQL server on this machine";
    database = PostgresServer::shared().createDatabase();
    entries.addPostgres(source, PostgresServer::shared().socketFolder(), database);
    pool.setDbReconnectTrial(1);
    pool.setDbRetrialTimeOut(0);
    pool.init("", 2, source.c_str(), PostgresServer::kUser, "");
    connect = pool.getConnect();
  }
  std::string run(const char* sql, ZrDbConnect::SQL_TYPE type = ZrDbConnect::SQLTYPE_ANSI) {
    return thrown([&] { connect->executeSQL(sql, type); });
  }
  std::string ask(const char* sql) { return PostgresServer::shared().run(database, sql); }

  zrtest::LogCapture log;
  zrtest::OdbcEntries entries;
  const std::string source = zrtest::OdbcEntries::freshName();
  ZrDataAccess pool;
  ZrDbConnect* connect = nullptr;
  std::string database;
};

TEST_F(Postgres, StreamsAreStoredAsBase64) {
  std::string bytes;
  for (int i = 0; i < 150000; ++i)
    bytes += static_cast<char>(i * 7 + i / 256);
  std::ifstream large(entries.folder().write("large", bytes), std::ios::binary);
  std::ifstream small(entries.folder().write("small", "Man"), std::ios::binary);
  ASSERT_EQ(run("CREATE TABLE t (n int, large text, small text)"), "");
  connect->executeSQL("INSERT INTO t VALUES (1, ?, ?)", ZrDbConnect::SQLTYPE_ANSI, &large, &small);
  EXPECT_EQ(connect->getRowCount(), 1);
  ASSERT_EQ(run("SELECT large, small FROM t"), "");
  ASSERT_EQ(connect->fetchNextRow(), 0);
  EXPECT_STREQ(connect->getColVal("small"), "TWFu");
  // Each chunk was encoded by itself, the first two with a padding of their own.
  const std::string text = connect->getColVal("large");
  ASSERT_EQ(text.size(), 87384U + 87384U + 25240U);
  std::string decoded;
  for (const std::size_t from : {0, 87384, 2 * 87384}) {
    unsigned int size = 0;
    const std::unique_ptr<unsigned char[]> part(Base64Decode(text.substr(from, 87384).c_str(), &size));
    decoded.append(reinterpret_cast<const char*>(part.get()), size);
  }
  EXPECT_TRUE(decoded == bytes);
}

TEST_F(Postgres, UpdateThatTouchesNoRowFailsOnlyWithParameters) {
  ASSERT_EQ(run("CREATE TABLE t (n text)"), "");
  EXPECT_EQ(run("UPDATE t SET n = 'x'"), "");
  EXPECT_EQ(connect->getState(), 4);
  EXPECT_EQ(connect->getRowCount(), 0);
  std::ifstream stream(entries.folder().write("data", "Man"));
  const std::string text =
      thrown([&] { connect->executeSQL("UPDATE t SET n = ?", ZrDbConnect::SQLTYPE_ANSI, &stream); });
  EXPECT_EQ(text, "ZrDbConnect::executeSQL(), failed on SQLParamData");
  EXPECT_EQ(connect->getState(), 6);
}

TEST_F(Postgres, WideStatementKeepsItsLetters) {
  ASSERT_EQ(run("CREATE TABLE t (n text)"), "");
  ASSERT_EQ(run("INSERT INTO t VALUES ('\xCE\xB1\xE4\xB8\xAD\xF0\x9F\x98\x80')", ZrDbConnect::SQLTYPE_UNICODE), "");
  EXPECT_EQ(ask("SELECT n FROM t"), "\xCE\xB1\xE4\xB8\xAD\xF0\x9F\x98\x80\n");
}

TEST_F(Postgres, WrongPasswordIsRefusedAndTheRightOneIsNot) {
  ask("CREATE ROLE reader LOGIN PASSWORD 'secret'");
  ZrDbConnect other;
  other.setDbReconnectTrial(1);
  other.setDbRetrialTimeOut(0);
  EXPECT_EQ(thrown([&] { other.connect("", source.c_str(), "reader", "wrong"); }), "Failed to create connection.");
  EXPECT_EQ(thrown([&] { other.connect("", source.c_str(), "reader", "secret"); }), "");
  EXPECT_EQ(other.m_dbmsType, 1);
}

TEST_F(Postgres, PoolComesBackWithTheServer) {
  pool.returnConnect(connect);
  PostgresServer::shared().stop();
  log.clear();
  EXPECT_FALSE(pool.reinit());
  EXPECT_EQ(log.texts(1), std::vector<std::string>{"ZrDataAccess::reinit: Failed to re-initialize the connection pool "
                                                   "(dsn: " +
                                                   source + " user: postgres)."});
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
