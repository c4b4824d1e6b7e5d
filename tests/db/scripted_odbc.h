#pragma once

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sql.h>
#include <sqlext.h>
#include <string>
#include <vector>

#include "common/log_capture.h"
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

struct Column {
  std::string name;
  SQLSMALLINT type = SQL_VARCHAR;
  std::vector<Piece> pieces = {};  // beyond the last one: SQL_NO_DATA
};

struct Result {
  std::vector<Column> columns;
  int rows = 0;
  SQLLEN rowCount = -1;
};

template <typename Argument>
std::string word(const Argument& argument) {
  if constexpr (std::is_convertible_v<Argument, std::string>)
    return argument;
  else if constexpr (std::is_same_v<Argument, SQLPOINTER>)
    return std::to_string(reinterpret_cast<intptr_t>(argument));
  else if constexpr (std::is_pointer_v<Argument>)
    return reinterpret_cast<const char*>(argument);
  else
    return std::to_string(argument);
}

// Takes the place of the ODBC calls in a test program: keeps what was called, fails when told to, and counts handles.
struct ScriptedOdbc {
  std::string dbms = "PostgreSQL";
  std::vector<std::string> diagnostics;                     // messages; SQLSTATE HY000, native error 7
  std::vector<Result> results;                              // of the next statement
  std::map<std::string, std::pair<int, SQLRETURN>> faults;  // by call: which one of them fails, and how
  std::string throwsIn;                                     // a call that throws a C++ exception

  std::vector<std::string> calls;
  std::set<SQLHANDLE> handles;  // allocated and not freed
  int wrongFrees = 0;
  std::size_t parameters = 0, asked = 0, result = 0;
  int fetched = 0;
  std::map<int, std::size_t> piece;

  // Notes a call with its arguments, and tells what it has to return.
  template <typename... Arguments>
  SQLRETURN enter(const std::string& call, const Arguments&... arguments) {
    if (call == throwsIn) throw 42;
    calls.push_back(call);
    ((calls.back() += " " + word(arguments)), ...);
    const auto fault = faults.find(call);
    return fault != faults.end() && --fault->second.first == 0 ? fault->second.second : SQL_SUCCESS;
  }
  int count(const std::string& call) const;
  Result& current() { return results.at(result); }
};

inline ScriptedOdbc script;

// The library's own allocations of at least `atLeast` bytes fail, but for the first `skip` of them; 0 ends that.
struct FailingAllocations {
  std::size_t atLeast = 0;
  int skip = 0;
};
inline FailingAllocations failing;

struct FreshScript {
  FreshScript() { script = {}; }
  ~FreshScript() { EXPECT_TRUE(script.handles.empty() && script.wrongFrees == 0); }  // each was freed once
};

class Connection : public testing::Test {
 protected:
  std::string open() {
    return thrown([&] { connect.connect("", "source", "user", "word"); });
  }
  std::string run(const char* sql, ZrDbConnect::SQL_TYPE type = ZrDbConnect::SQLTYPE_ANSI) {
    return thrown([&] { connect.executeSQL(sql, type); });
  }

  LogCapture log;
  FreshScript fresh;
  ZrDbConnect connect;
};

}  // namespace zrtest
