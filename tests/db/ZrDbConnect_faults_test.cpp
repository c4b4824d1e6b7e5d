#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>

#include "common/temp_folder.h"
#include "db/ZrDbConnect.h"
#include "db/scripted_odbc.h"
#include "db/thrown.h"

namespace {

using testing::_;
using testing::ElementsAre;
using zrtest::failing;
using zrtest::script;
using zrtest::thrown;

class ScriptedConnection : public zrtest::Scripted {
 protected:
  std::string open() {
    return thrown([&] { connect.connect("", "source", "user", "word"); });
  }
  std::string run(const char* sql, ZrDbConnect::SQL_TYPE type = ZrDbConnect::SQLTYPE_ANSI) {
    return thrown([&] { connect.executeSQL(sql, type); });
  }

  ZrDbConnect connect;
};

TEST_F(ScriptedConnection, ConnectingAndDisconnectingMakeTheirCallsInOrder) {
  ASSERT_EQ(open(), "");
  EXPECT_THAT(script.calls, ElementsAre("AllocHandle1", "SetEnvAttr 200 3 0", "AllocHandle2", "SetConnectOption 103 30",
                                        "Connect source user word -3 -3 -3", "AllocHandle3", "GetInfo 17 256"));
  EXPECT_EQ(connect.m_state, 2);
  script.calls.clear();
  connect.disconnect();
  connect.disconnect();
  EXPECT_THAT(script.calls, ElementsAre("FreeHandle3", "Disconnect", "FreeHandle2", "FreeHandle1"));
  EXPECT_EQ(connect.m_state, 1);
  for (const auto& [name, kind] :
       {std::pair{"postgresql", 1}, {"Microsoft SQL Server", 0}, {"MySQL", 1}, {"microsoft Postgres", 1}}) {
    script.dbms = name;
    EXPECT_EQ(open(), "");  // on a connected object: the old handles must not be lost
    EXPECT_EQ(connect.m_dbmsType, kind) << name;
  }
  script.throwsIn = "Disconnect";
  connect.disconnect();
  EXPECT_EQ(connect.m_state, 1);
  EXPECT_THAT(log.texts(1), ElementsAre("ZrDbConnect::disconnect(), failed to cleanup db resource"));
  script.throwsIn.clear();
}

TEST_F(ScriptedConnection, EveryFailureOfConnectingHasItsTextAndFreesWhatItShould) {
  struct Case {
    const char* call;
    SQLRETURN code;
    const char* thrown;
    std::string logged;
    std::size_t handlesLeft;
  };
  const std::string why = " - no luck [State:HY000][NativeErr:7]";
  script.diagnostics = {"no luck"};
  for (const Case& c :
       {Case{"AllocHandle1", SQL_ERROR, "Failed to allocate ODBC HENV.", "Failed to allocate ODBC HENV.", 0},
        {"SetEnvAttr", SQL_ERROR, "Failed to allocate ODBC env attr.", "Failed to allocate ODBC env attr." + why, 1},
        {"AllocHandle2", SQL_NO_DATA, "Failed to allocate ODBC HDBC handle.",
         "Failed to allocate ODBC HDBC handle." + why, 0},
        {"AllocHandle3", SQL_ERROR, "Failed to alloacte HSTMT handle",
         "ZrDbConnect::connect(), failed to alloacte HSTMT handle" + why, 2},
        {"GetInfo", SQL_SUCCESS_WITH_INFO, "Failed to retrieve DBMS information",
         "ZrDbConnect::connect, failed to retrieve DBMS information" + why, 2}}) {
    SCOPED_TRACE(c.call);
    log.clear();
    script.faults = {{c.call, {1, c.code}}};
    EXPECT_EQ(open(), c.thrown);
    EXPECT_THAT(log.texts(1), ElementsAre(c.logged));
    EXPECT_EQ(connect.m_state, 1);
    EXPECT_EQ(script.handles.size(), c.handlesLeft);
    EXPECT_EQ(open(), "");  // and the next attempt works, with no handle lost
    connect.disconnect();
  }
}

TEST_F(ScriptedConnection, EachFailedAttemptIsFollowedByASleepTheLastToo) {
  connect.setDbRetrialTimeOut(7);
  connect.setDbConnectTimeOut(4);
  for (const auto& [trials, attempts] : {std::pair{3, 2}, {1, 1}, {0, 0}, {-1, 0}}) {
    const bool works = attempts == 2;  // the second attempt does, where there is one
    connect.setDbReconnectTrial(trials);
    connect.disconnect();
    script.calls.clear();
    script.faults = {{"Connect", {1, SQL_NO_DATA}}};
    EXPECT_EQ(open(), works ? "" : "Failed to create connection.");
    EXPECT_EQ(script.count("AllocHandle2"), attempts);
    EXPECT_EQ(script.count("SetConnectOption 103 4"), attempts);
    EXPECT_EQ(script.count("sleep 7"), works ? 1 : attempts);
    EXPECT_EQ(script.handles.size(), works ? 3U : 0U);
  }
  EXPECT_THAT(log.texts(1), ElementsAre());
}

TEST_F(ScriptedConnection, DiagnosticsAreJoinedAndCut) {
  script.diagnostics = {"one", "two"};
  char buffer[100];
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "- one [State:HY000][NativeErr:7]- two [State:HY000][NativeErr:7]");
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, 20);
  EXPECT_STREQ(buffer, "- one [State:HY000]");
  connect.getError(SQL_HANDLE_STMT, nullptr, buffer, 0);
  connect.getError(SQL_HANDLE_STMT, nullptr, nullptr, 20);
  EXPECT_STREQ(buffer, "- one [State:HY000]");
  script.diagnostics.assign(12, "x");
  char large[1000];
  connect.getError(SQL_HANDLE_STMT, nullptr, large, sizeof large);
  EXPECT_EQ(std::strlen(large), 11 * std::strlen("- x [State:HY000][NativeErr:7]"));
  EXPECT_THAT(
      log.texts(1),
      ElementsAre("ZrDbConnect::getError(), the number of diag errors is greater then 10, might be something wrong."));
}

TEST_F(ScriptedConnection, OperationsAskForTheirStateAndTheBrokenOnePasses) {
  EXPECT_EQ(run("x"), "Connection is not ready.");
  EXPECT_EQ(run(nullptr), "NULL SQL statement.");
  EXPECT_EQ(thrown([&] { connect.getStmtHandle(); }), "Connection is not ready.");
  ASSERT_EQ(open(), "");
  EXPECT_EQ(connect.getStmtHandle(), connect.m_hstmt);
  EXPECT_EQ(thrown([&] { connect.fetchNextResultSet(); }), "No SQL has been executed.");
  EXPECT_EQ(thrown([&] { connect.fetchNextRow(); }), "Column information is not ready.");
  EXPECT_EQ(thrown([&] { connect.getColVal("a"); }), "The data is not ready");
  EXPECT_EQ(thrown([&] { connect.getColValInt(nullptr); }), "NULL szColName parameter");
  EXPECT_THAT(log.texts(1),
              ElementsAre("No SQL has been executed.", "Column information is not ready.", "The data is not ready"));
  script.results = {{{{"a", SQL_VARCHAR, {{"1", 1, SQL_SUCCESS}}}}, 2}};
  ASSERT_EQ(run("good"), "");
  ASSERT_EQ(connect.fetchNextRow(), 0);
  script.faults = {{"ExecDirect", {1, SQL_STILL_EXECUTING}}};
  EXPECT_EQ(run("bad"), "Failed to execute SQL");
  EXPECT_EQ(connect.m_state, 6);
  EXPECT_STREQ(connect.getColVal("A"), "1");  // of the statement before
  script.faults = {{"ExecDirect", {1, SQL_NO_DATA}}};
  EXPECT_EQ(run("touches no row"), "");
  EXPECT_EQ(connect.m_state, 4);
}

TEST_F(ScriptedConnection, EveryFailureOfAStatementHasItsTextAndState) {
  struct Case {
    const char* call;
    int which;
    std::string thrown;
    std::string logged;
    int state;
  };
  const std::string operation = "ZrDbConnect::executeSQL(), ";
  ASSERT_EQ(open(), "");
  const zrtest::TempFolder folder;
  folder.write("data", "Man");
  script.diagnostics = {"why"};
  for (const Case& c :
       {Case{"BindParameter", 1, operation + "failed to bind parameter", operation + "failed to bind parameter", 6},
        {"ExecDirect", 1, "Failed to execute SQL", "Failed to execute SQL::a ? b", 6},
        {"PutData", 1, "Failed on SQLPutData", operation + "failed on SQLPutData", 6},
        {"ParamData", 2, operation + "failed on SQLParamData", operation + "failed on SQLParamData", 6},
        {"NumResultCols", 1, "Failed to get column count.", "Failed to get column count...", 2},
        {"RowCount", 1, "Failed to get raw count.", "Failed to get raw count...", 2},
        {"DescribeCol", 2, "Failed to get columns information", "Failed to get columns information, column [2].", 2}}) {
    SCOPED_TRACE(c.call);
    std::ifstream stream(folder.file("data"));
    log.clear();
    script.results = {{{{"a"}, {"b"}}}};
    script.faults = {{c.call, {c.which, c.which == 1 ? SQL_ERROR : SQL_NO_DATA}}};
    EXPECT_EQ(thrown([&] { connect.executeSQL("a ? b", ZrDbConnect::SQLTYPE_ANSI, &stream); }), c.thrown);
    EXPECT_THAT(log.texts(1), ElementsAre(c.logged + " - why [State:HY000][NativeErr:7]"));
    EXPECT_EQ(connect.m_state, c.state);
    EXPECT_TRUE(c.state == 6 || connect.m_mapColumn.empty());
    script.results = {{{{"a"}}}};
    EXPECT_EQ(run("next"), "");
    EXPECT_EQ(connect.m_state, 4);
  }
}

TEST_F(ScriptedConnection, StreamsAreSentAsBase64InChunksWhereTheyHaveData) {
  ASSERT_EQ(open(), "");
  const zrtest::TempFolder folder;
  std::ifstream large(folder.write("large", "Man" + std::string(149997, 'x')), std::ios::binary);
  std::ifstream empty(folder.write("empty", "")), missing(folder.file("missing")), small(folder.file("large"));
  const std::ifstream* null = nullptr;
  small.seekg(149999);
  script.calls.clear();
  connect.executeSQL("'''?', ?, ?, ?, ?, ?", ZrDbConnect::SQLTYPE_ANSI, &large, &empty, null, &missing, &small);
  script.calls.resize(18);
  EXPECT_THAT(script.calls, ElementsAre("FreeStmt 0", "FreeStmt 3", "BindParameter 1 1 -2 -1 2147483646 0 1 0 -100",
                                        "BindParameter 2 1 -2 -1 2147483646 0 2 0 -100", _, _, _, _, "ParamData",
                                        "PutData TWFu 87384", "PutData eHh4 87384", "PutData eHh4 25240", "ParamData",
                                        "ParamData", "ParamData", "ParamData", "PutData eA== 4", "ParamData"));
}

TEST_F(ScriptedConnection, StatementWithParametersNeedsNoMemoryOfTheLibrary) {
  ASSERT_EQ(open(), "");
  const std::ifstream* null = nullptr;
  failing = {1};
  EXPECT_EQ(thrown([&] { connect.executeSQL("?, ?", ZrDbConnect::SQLTYPE_ANSI, null, null); }), "");
  failing = {};
  EXPECT_EQ(script.count("ParamData"), 3);
}

TEST_F(ScriptedConnection, WideStatementArrivesAsUtf16OrNotAtAll) {
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

TEST_F(ScriptedConnection, ResultSetsFollowOneAnotherOverThoseWithoutColumns) {
  ASSERT_EQ(open(), "");
  script.results = {{{}, 0, 3}, {{{"a"}}, 1, 5}, {{}, 0, 2}, {{{"b"}}, 1, 6}, {{}, 0, 8}};
  ASSERT_EQ(run("many"), "");
  EXPECT_EQ(connect.m_resultSetNo, 2);
  EXPECT_EQ(connect.fetchNextResultSet(), 0);
  EXPECT_EQ(connect.m_resultSetNo, 4);
  EXPECT_EQ(connect.m_mapColumn.count("b"), 1U);
  EXPECT_EQ(connect.getRowCount(), 6);
  EXPECT_EQ(connect.fetchNextResultSet(), 0);  // only one without columns is left
  EXPECT_EQ(connect.m_columnCount, 0);
  script.faults = {{"RowCount", {1, SQL_ERROR}}};
  EXPECT_EQ(connect.getRowCount(), 8);  // no longer told by the driver
  EXPECT_EQ(connect.fetchNextResultSet(), 1);
  EXPECT_EQ(connect.m_state, 4);
}

TEST_F(ScriptedConnection, ColumnThatCannotBeKeptLeavesNone) {
  ASSERT_EQ(open(), "");
  script.results = {{{{"x"}, {"X"}}}};
  EXPECT_EQ(run("twice"), "Failed to insert column object into map");
  EXPECT_TRUE(connect.m_mapColumn.empty());
  failing = {sizeof(ZrDbColumn), 1};
  EXPECT_EQ(run("much"), "Failed to allocate ZrDbColumn object.");
  failing = {};
  EXPECT_TRUE(connect.m_mapColumn.empty() && connect.m_state == 2);
  EXPECT_THAT(log.texts(1), ElementsAre("Failed to insert column object into map, column [X].",
                                        "Failed to allocate ZrDbColumn object."));
}

TEST(ParameterMarkers, AreCountedOutsideLiterals) {
  ZrDbConnect connect;
  for (const auto& [sql, count] : {std::pair{"SELECT * FROM t WHERE a = ? AND b = ?", 2},
                                   {"SELECT '?' FROM t WHERE a = ?", 1},
                                   {"UPDATE t SET a = 'it''s ?' WHERE b = ?", 1},
                                   {"'a'? ?", 1},
                                   {"\"?\" -- ?", 2},
                                   {"", 0}})
    EXPECT_EQ(connect.getParamCount(sql), count) << sql;
}

}  // namespace
