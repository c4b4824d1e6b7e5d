#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <utility>

#include "common/temp_folder.h"
#include "db/scripted_odbc.h"

namespace {

using testing::ElementsAre;
using zrtest::Connection;
using zrtest::failing;
using zrtest::script;
using zrtest::thrown;

TEST_F(Connection, ConnectingMakesItsCallsInOrderAndLosesNoHandle) {
  ASSERT_EQ(open(), "");
  EXPECT_THAT(script.calls, ElementsAre("AllocHandle1", "SetEnvAttr 200 3 0", "AllocHandle2", "SetConnectOption 103 30",
                                        "Connect source user word -3 -3 -3", "AllocHandle3", "GetInfo 17 256"));
  for (const auto& [name, kind] :
       {std::pair{"postgresql", 1}, {"Microsoft SQL Server", 0}, {"MySQL", 1}, {"microsoft Postgres", 1}}) {
    script.dbms = name;
    EXPECT_EQ(open(), "");  // on a connected object
    EXPECT_EQ(connect.m_dbmsType, kind) << name;
  }
  script.throwsIn = "Disconnect";
  connect.disconnect();
  EXPECT_EQ(connect.m_state, 1);
  EXPECT_THAT(log.texts(1), ElementsAre("ZrDbConnect::disconnect(), failed to cleanup db resource"));
  script.throwsIn.clear();
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
      {"AllocHandle2", 1, SQL_NO_DATA, "Failed to allocate ODBC HDBC handle.",
       "Failed to allocate ODBC HDBC handle." + why, 1},
      {"AllocHandle3", 1, SQL_ERROR, "Failed to alloacte HSTMT handle",
       "ZrDbConnect::connect(), failed to alloacte HSTMT handle" + why, 1},
      {"GetInfo", 1, SQL_SUCCESS_WITH_INFO, "Failed to retrieve DBMS information",
       "ZrDbConnect::connect, failed to retrieve DBMS information" + why, 1},
      {"BindParameter", 1, SQL_ERROR, of + "failed to bind parameter", of + "failed to bind parameter" + why, 6},
      {"ExecDirect", 1, SQL_ERROR, "Failed to execute SQL", "Failed to execute SQL::a ? b" + why, 6},
      {"PutData", 1, SQL_ERROR, "Failed on SQLPutData", of + "failed on SQLPutData" + why, 6},
      {"ParamData", 2, SQL_NO_DATA, of + "failed on SQLParamData", of + "failed on SQLParamData" + why, 6},
      {"NumResultCols", 1, SQL_ERROR, "Failed to get column count.", "Failed to get column count..." + why, 2},
      {"RowCount", 1, SQL_ERROR, "Failed to get raw count.", "Failed to get raw count..." + why, 2},
      {"DescribeCol", 2, SQL_ERROR, "Failed to get columns information",
       "Failed to get columns information, column [2]." + why, 2}};
  const zrtest::TempFolder folder;
  folder.write("data", "Man");
  script.diagnostics = {"why"};
  for (const auto& c : kCases) {
    std::ifstream stream(folder.file("data"));
    const auto attempt = [&] {
      script.results = {{{{"a"}, {"b"}}}};
      connect.connect("", "source", "user", "word");
      connect.executeSQL("a ? b", ZrDbConnect::SQLTYPE_ANSI, &stream);
    };
    log.clear();
    script.faults = {{c.call, {c.which, c.code}}};
    EXPECT_EQ(thrown(attempt), c.thrown);
    EXPECT_THAT(log.texts(1), ElementsAre(c.logged));
    EXPECT_EQ(connect.m_state, c.state);
    EXPECT_TRUE(connect.m_mapColumn.empty());
    EXPECT_EQ(c.state > 1 ? run("next") : "", "") << c.call;  // on the connection that broke
    EXPECT_EQ(thrown(attempt), "");
    connect.disconnect();
  }
}

TEST_F(Connection, EachFailedAttemptIsFollowedByASleepTheLastToo) {
  connect.setDbRetrialTimeOut(7);
  connect.setDbConnectTimeOut(4);
  for (const auto& [trials, attempts] : {std::pair{3, 2}, {1, 1}, {0, 0}, {-1, 0}}) {
    const bool works = attempts == 2;  // the second attempt does, where there is one
    connect.setDbReconnectTrial(trials);
    connect.disconnect();
    script.calls.clear();
    script.faults = {{"Connect", {1, SQL_NO_DATA}}};
    EXPECT_EQ(open(), works ? "" : "Failed to create connection.");
    EXPECT_EQ(script.count("SetConnectOption 103 4"), attempts);
    EXPECT_EQ(script.count("sleep 7"), works ? 1 : attempts);
    EXPECT_EQ(script.handles.size(), works ? 3U : 0U);
  }
  EXPECT_THAT(log.texts(1), ElementsAre());
}

TEST_F(Connection, DiagnosticsAreJoinedAndCut) {
  script.diagnostics = {"one", "two"};
  char buffer[1000];
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "- one [State:HY000][NativeErr:7]- two [State:HY000][NativeErr:7]");
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, 20);
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, 0);
  connect.getError(SQL_HANDLE_STMT, nullptr, nullptr, 20);
  EXPECT_STREQ(buffer, "- one [State:HY000]");
  script.diagnostics.assign(12, "x");
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
  script.results = {{{{"a", SQL_VARCHAR, {{"1", 1}}}}, 2}};
  EXPECT_EQ(run("good"), "");
  ASSERT_EQ(connect.fetchNextRow(), 0);
  script.faults = {{"ExecDirect", {1, SQL_STILL_EXECUTING}}};
  EXPECT_EQ(run("bad"), "Failed to execute SQL");
  EXPECT_STREQ(connect.getColVal("A"), "1");  // of the statement before
  script.faults = {{"ExecDirect", {1, SQL_NO_DATA}}};
  EXPECT_EQ(run("touches no row"), "");
  EXPECT_EQ(connect.m_state, 4);
}

TEST_F(Connection, StreamsAreSentAsBase64InChunksWhereTheyHaveDataAndNeedNoMemory) {
  ASSERT_EQ(open(), "");
  const zrtest::TempFolder folder;
  std::ifstream large(folder.write("large", "Man" + std::string(149997, 'x')), std::ios::binary);
  std::ifstream empty(folder.write("empty", "")), missing(folder.file("missing")), small(folder.file("large"));
  const std::ifstream* null = nullptr;
  small.seekg(149999);
  script.calls.clear();
  failing = {1};
  EXPECT_EQ(thrown([&] {
              connect.executeSQL("'?', ?, ?, ?, ?, ?", ZrDbConnect::SQLTYPE_ANSI, &large, &empty, null, &missing,
                                 &small);
            }),
            "");
  failing = {};
  EXPECT_EQ(script.count("BindParameter 5 1 -2 -1 2147483646 0 5 0 -100"), 1);
  script.calls.erase(script.calls.begin(), script.calls.begin() + 8);
  script.calls.resize(10);
  EXPECT_THAT(script.calls,
              ElementsAre("ParamData", "PutData TWFu 87384", "PutData eHh4 87384", "PutData eHh4 25240", "ParamData",
                          "ParamData", "ParamData", "ParamData", "PutData eA== 4", "ParamData"));
}

TEST_F(Connection, WideStatementArrivesAsUtf16OrNotAtAll) {
  ASSERT_EQ(open(), "");
  EXPECT_EQ(run("\xC3\xA9\xF0\x9F\x98\x80", ZrDbConnect::SQLTYPE_UNICODE), "");
  EXPECT_EQ(script.count("ExecDirectW 233 55357 56832 -3"), 1);
  const std::string text(100000, 'x');
  failing = {2 * text.size()};
  EXPECT_EQ(run(text.c_str(), ZrDbConnect::SQLTYPE_UNICODE),
            "ZrDbConnect::executeSQL(), failed to allocate memory for UTF-8 to UTF-16 conversion");
  failing = {};
  UConverter* converter = std::exchange(connect.m_pConverter, nullptr);
  EXPECT_EQ(run("x", ZrDbConnect::SQLTYPE_UNICODE), "ZrDbConnect::executeSQL(), failed to convert UTF-8 to UTF-16");
  connect.m_pConverter = converter;
  EXPECT_EQ(connect.m_state, 4);
  EXPECT_THAT(log.texts(1),
              ElementsAre("ZrDbConnect::executeSQL() failed to allocate memory for UTF-8 to UTF-16 conversion.  Check "
                          "system processes for excessive memory consumption.",
                          "ZrDbConnect::executeSQL(), failed to convert UTF-8 to UTF-16"));
}

TEST_F(Connection, ResultSetsFollowOneAnotherOverThoseWithoutColumns) {
  ASSERT_EQ(open(), "");
  script.results = {{{}, 0, 3}, {{{"a"}}, 1, 5}, {{}, 0, 2}, {{{"b"}}, 1, 6}, {{}, 0, 8}};
  ASSERT_EQ(run("many"), "");
  EXPECT_EQ(connect.m_resultSetNo, 2);
  EXPECT_EQ(connect.fetchNextResultSet(), 0);
  EXPECT_TRUE(connect.m_resultSetNo == 4 && connect.m_mapColumn.count("b") == 1 && connect.getRowCount() == 6);
  EXPECT_EQ(connect.fetchNextResultSet(), 0);  // only one without columns is left
  EXPECT_EQ(connect.m_columnCount, 0);
  script.faults = {{"RowCount", {1, SQL_ERROR}}};
  EXPECT_EQ(connect.getRowCount(), 8);  // no longer told by the driver
  EXPECT_EQ(connect.fetchNextResultSet(), 1);
}

TEST_F(Connection, ColumnThatCannotBeKeptLeavesNone) {
  ASSERT_EQ(open(), "");
  script.results = {{{{"x"}, {"X"}}}};
  EXPECT_EQ(run("twice"), "Failed to insert column object into map");
  failing = {sizeof(ZrDbColumn), 1};
  EXPECT_EQ(run("much"), "Failed to allocate ZrDbColumn object.");
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
