#pragma once

#include <gtest/gtest.h>
#include <map>
#include <sql.h>
#include <sqlext.h>
#include <string>
#include <vector>

#include "common/log_capture.h"
#include "common/odbc_entries.h"
#include "db/ZrDataAccess.h"
#include "db/thrown.h"

namespace zrtest {

// One answer of SQLGetData: the bytes that it writes, the length that it reports (kKeep: none), its return code.
constexpr SQLLEN kKeep = -99;
struct Piece {
  std::string bytes;
  SQLLEN length;
  SQLRETURN code = SQL_SUCCESS;
};

// Stands between the library and the driver manager: every ODBC call goes through, except for what is said here.
struct FaultyOdbc {
  std::map<std::string, std::pair<int, SQLRETURN>> faults;  // by call: which one of them is answered so instead
  std::string throwsIn;                                     // a call that throws a C++ exception
  std::vector<std::string> diagnostics;                     // messages of every handle; HY000, native error 7
  std::string dbms;                                         // name of the database system, unless empty
  SQLSMALLINT type = 0;                                     // of the second column, which has these pieces; 0: its own
  std::vector<Piece> pieces;                                // behind the last one: SQL_NO_DATA

  std::vector<std::string> calls;  // names, and the two arguments behind the handle as numbers
  int handles = 0;                 // environments and connections allocated and not freed
  std::size_t piece = 0;

  int count(const std::string& call) const;
};
inline FaultyOdbc odbc;

// The library's own allocations of at least `atLeast` bytes fail, but for the first `skip` of them; 0 ends that.
struct FailingAllocations {
  std::size_t atLeast = 0;
  int skip = 0;
};
inline FailingAllocations failing;

struct FreshOdbc {
  FreshOdbc() { odbc = {}; }
  ~FreshOdbc() { EXPECT_EQ(odbc.handles, 0); }
};

class Connection : public testing::Test {
 protected:
  Connection() { entries.addSqlite(source); }
  std::string open() {
    return thrown([&] { connect.connect("", source.c_str(), "", ""); });
  }
  std::string run(const char* sql, ZrDbConnect::SQL_TYPE type = ZrDbConnect::SQLTYPE_ANSI) {
    return thrown([&] { connect.executeSQL(sql, type); });
  }

  OdbcEntries entries;
  const std::string source = OdbcEntries::freshName();
  LogCapture log;
  FreshOdbc fresh;
  ZrDbConnect connect;
};

}  // namespace zrtest
