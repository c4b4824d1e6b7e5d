#pragma once

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sql.h>
#include <sqlext.h>
#include <string>
#include <vector>

#include "common/log_capture.h"

namespace zrtest {

// One answer of SQLGetData: the bytes that it writes, the length that it reports (kKeep: none), its return code.
constexpr SQLLEN kKeep = -99;
struct Piece {
  std::string bytes;
  SQLLEN length;
  SQLRETURN code;
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

  // Notes a call, and tells what it has to return.
  SQLRETURN enter(const std::string& call, const std::string& arguments = {});
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

// A fresh script for each test; afterwards every handle has been freed once.
class Scripted : public testing::Test {
 protected:
  Scripted() { script = {}; }
  ~Scripted() override { EXPECT_TRUE(script.handles.empty() && script.wrongFrees == 0); }

  LogCapture log;
};

}  // namespace zrtest
