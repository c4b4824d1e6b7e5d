#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <utility>

#include "db/faulty_odbc.h"

namespace {

using testing::ElementsAre;
using zrtest::Connection;
using zrtest::failing;
using zrtest::odbc;
using zrtest::thrown;

TEST_F(Connection, ConnectingFindsTheKindOfServerAndLosesNoHandle) {
  for (const auto& [name, kind] :
       {std::pair{"postgresql", 1}, {"Microsoft SQL Server", 0}, {"MySQL", 1}, {"microsoft Postgres", 1}}) {
    odbc.dbms = name;
    EXPECT_EQ(open(), "");  // on a connected object
    EXPECT_EQ(connect.m_dbmsType, kind) << name;
  }
  odbc.throwsIn = "Disconnect";
  connect.disconnect();
  EXPECT_EQ(connect.m_state, 1);
  EXPECT_THAT(log.texts(1), ElementsAre("ZrDbConnect::disconnect(), failed to cleanup db resource"));
  odbc.throwsIn.clear();
}

TEST_F(Connection, EveryFailureHasItsTextAndStateAndTheNextAttemptWorks) {
  const std::string of = "ZrDbConnect::executeSQL(), ", why = " - why [State:HY000][NativeErr:7]";
  const struct {
    const char* call;
    int which;  // of these calls fails
    SQLRETURN code;
    std::string thrown, logged;
    int state;
  } kCases[] = {
      {"AllocHandle1", 1, SQL_ERROR, "Failed to allocate ODBC HENV.", "Failed to allocate ODBC HENV.", 1},
      {"SetEnvAttr", 1, SQL_ERROR, "Failed to allocate ODBC env attr.", "Failed to allocate ODBC env attr." + why, 1},
      {"AllocHandle2", 1, SQL_ERROR, "Failed to allocate ODBC HDBC handle.",
       "Failed to allocate ODBC HDBC handle." + why, 1},
      {"AllocHandle3", 1, SQL_ERROR, "Failed to alloacte HSTMT handle",
       "ZrDbConnect::connect(), failed to alloacte HSTMT handle" + why, 1},
      {"GetInfo", 1, SQL_SUCCESS_WITH_INFO, "Failed to retrieve DBMS information",
       "ZrDbConnect::connect, failed to retrieve DBMS information" + why, 1},
      {"BindParameter", 1, SQL_ERROR, of + "failed to bind parameter", of + "failed to bind parameter" + why, 6},
      {"ExecDirect", 1, SQL_ERROR, "Failed to execute SQL", "Failed to execute SQL::SELECT ?, 2 AS b" + why, 6},
      {"PutData", 1, SQL_ERROR, "Failed on SQLPutData", of + "failed on SQLPutData" + why, 6},
      {"ParamData", 2, SQL_NO_DATA, of + "failed on SQLParamData", of + "failed on SQLParamData" + why, 6},
      {"NumResultCols", 1, SQL_ERROR, "Failed to get column count.", "Failed to get column count..." + why, 2},
      {"RowCount", 1, SQL_ERROR, "Failed to get raw count.", "Failed to get raw count..." + why, 2},
      {"DescribeCol", 2, SQL_ERROR, "Failed to get columns information",
       "Failed to get columns information, column [2]." + why, 2}};
  const std::string data = entries.folder().write("data", "Man");
  odbc.diagnostics = {"why"};
  for (const auto& c : kCases) {
    const auto attempt = [&] {
      const std::ifstream stream(data);
      connect.connect("", source.c_str(), "", "");
      connect.executeSQL("SELECT ?, 2 AS b", ZrDbConnect::SQLTYPE_ANSI, &stream);
    };
    log.clear();
    odbc.faults = {{c.call, {c.which, c.code}}};
    EXPECT_EQ(thrown(attempt), c.thrown);
    EXPECT_THAT(log.texts(1), ElementsAre(c.logged));
    EXPECT_EQ(connect.m_state, c.state);
    EXPECT_TRUE(connect.m_mapColumn.empty());
    connect.disconnect();
    EXPECT_EQ(odbc.handles, 0) << c.call;  // also of a statement in the middle of its data
    EXPECT_EQ(thrown(attempt), "");
  }
}

TEST_F(Connection, EachFailedAttemptIsFollowedByASleepTheLastToo) {
  connect.setDbRetrialTimeOut(7);
  connect.setDbConnectTimeOut(4);
  for (const auto& [trials, attempts] : {std::pair{3, 2}, {1, 1}, {0, 0}, {-1, 0}}) {
    const bool works = attempts == 2;  // the second attempt does, where there is one
    connect.setDbReconnectTrial(trials);
    connect.disconnect();
    odbc.calls.clear();
    odbc.faults = {{"Connect", {1, SQL_ERROR}}};
    EXPECT_EQ(open(), works ? "" : "Failed to create connection.");
    EXPECT_EQ(odbc.count("SetConnectOption 103 4"), attempts);
    EXPECT_EQ(odbc.count("sleep 7"), works ? 1 : attempts);
    EXPECT_EQ(odbc.handles, works ? 2 : 0);
  }
  EXPECT_THAT(log.texts(1), ElementsAre());
}

TEST_F(Connection, DiagnosticsAreJoinedAndCut) {
  odbc.diagnostics = {"one", "two"};
  char buffer[1000];
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "- one [State:HY000][NativeErr:7]- two [State:HY000][NativeErr:7]");
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, 20);
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, 0);
  connect.getError(SQL_HANDLE_STMT, nullptr, nullptr, 20);
  EXPECT_STREQ(buffer, "- one [State:HY000]");
  odbc.diagnostics.assign(12, "x");
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, sizeof buffer);
  EXPECT_EQ(std::strlen(buffer), 11 * std::strlen("- x [State:HY000][NativeErr:7]"));
  EXPECT_THAT(
      log.texts(1),
      ElementsAre("ZrDbConnect::getError(), the number of diag errors is greater then 10, might be something wrong."));
}

TEST_F(Connection, OperationsAskForTheirStateAndTheBrokenOnePasses) {
  EXPECT_EQ(run("x"), "Connection is not ready.");
  EXPECT_EQ(run(nullptr), "NULL SQL statement.");
  EXPECT_EQ(thrown([&] { connect.getStmtHandle(); }), "Connection is not ready.");
  ASSERT_EQ(open(), "");
  EXPECT_EQ(thrown([&] { connect.getColValInt(nullptr); }), "NULL szColName parameter");
  const std::vector<std::string> guards = {thrown([&] { connect.fetchNextResultSet(); }),
                                           thrown([&] { connect.fetchNextRow(); }),
                                           thrown([&] { connect.getColVal("a"); })};
  EXPECT_THAT(guards,
              ElementsAre("No SQL has been executed.", "Column information is not ready.", "The data is not ready"));
  EXPECT_EQ(log.texts(1), guards);
  EXPECT_EQ(run("SELECT '1' AS a"), "");
  ASSERT_EQ(connect.fetchNextRow(), 0);
  odbc.faults = {{"ExecDirect", {1, SQL_ERROR}}};
  EXPECT_EQ(run("bad"), "Failed to execute SQL");
  EXPECT_STREQ(connect.getColVal("A"), "1");  // of the statement before
  odbc.faults = {{"ExecDirect", {1, SQL_NO_DATA}}};
  EXPECT_EQ(run("CREATE TABLE t (a)"), "");
  EXPECT_EQ(connect.m_state, 4);
}

TEST_F(Connection, StatementWithParametersNeedsNoMemoryOfTheLibrary) {
  ASSERT_EQ(open(), "");
  ASSERT_EQ(run("CREATE TABLE t (a TEXT, b TEXT)"), "");
  const std::ifstream stream(entries.folder().write("data", "Man")), other(entries.folder().file("data"));
  failing = {1};
  EXPECT_EQ(
      thrown([&] { connect.executeSQL("INSERT INTO t VALUES (?, ?)", ZrDbConnect::SQLTYPE_ANSI, &stream, &other); }),
      "");
  failing = {};
  EXPECT_EQ(odbc.count("PutData"), 2);
}

TEST_F(Connection, WideStatementThatCannotBeConvertedIsNotSent) {
  ASSERT_EQ(open(), "");
  const std::string text(100000, 'x');
  failing = {2 * text.size()};
  EXPECT_EQ(run(text.c_str(), ZrDbConnect::SQLTYPE_UNICODE),
            "ZrDbConnect::executeSQL(), failed to allocate memory for UTF-8 to UTF-16 conversion");
  failing = {};
  UConverter* converter = std::exchange(connect.m_pConverter, nullptr);
  EXPECT_EQ(run("x", ZrDbConnect::SQLTYPE_UNICODE), "ZrDbConnect::executeSQL(), failed to convert UTF-8 to UTF-16");
  connect.m_pConverter = converter;
  EXPECT_EQ(connect.m_state, 2);
  EXPECT_THAT(log.texts(1),
              ElementsAre("ZrDbConnect::executeSQL() failed to allocate memory for UTF-8 to UTF-16 conversion.  Check "
                          "system processes for excessive memory consumption.",
                          "ZrDbConnect::executeSQL(), failed to convert UTF-8 to UTF-16"));
}

TEST_F(Connection, ColumnThatCannotBeKeptLeavesNone) {
  ASSERT_EQ(open(), "");
  EXPECT_EQ(run("SELECT 1 AS x, 2 AS X"), "Failed to insert column object into map");
  failing = {sizeof(ZrDbColumn), 1};
  EXPECT_EQ(run("SELECT 1 AS x, 2 AS y"), "Failed to allocate ZrDbColumn object.");
  failing = {};
  EXPECT_TRUE(connect.m_mapColumn.empty() && connect.m_state == 2);
  EXPECT_THAT(log.texts(1), ElementsAre("Failed to insert column object into map, column [X].",
                                        "Failed to allocate ZrDbColumn object."));
}

TEST_F(Connection, ParameterMarkersAreCountedOutsideLiterals) {
  for (const auto& [sql, count] : {std::pair{"SELECT '?' FROM t WHERE a = ? AND b = ?", 2},
                                   {"UPDATE t SET a = 'it''s ?' WHERE b = ?", 1},
                                   {"'a'? ?", 1},
                                   {"?, 'abc ?", 1},
                                   {"\"?\" -- ?", 2}})
    EXPECT_EQ(connect.getParamCount(sql), count) << sql;
}

}  // namespace
