#include "db/scripted_odbc.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <new>
#include <unistd.h>

int zrtest::ScriptedOdbc::count(const std::string& call) const {
  const auto isCall = [&](const std::string& line) { return (line + " ").rfind(call + " ", 0) == 0; };
  return static_cast<int>(std::count_if(calls.begin(), calls.end(), isCall));
}

using zrtest::failing;
using zrtest::script;

namespace {

void copy(void* to, const std::string& text) {
  std::memcpy(to, text.c_str(), text.size() + 1);
}

bool isOfTheLibrary(void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "libzrpolicy") != nullptr;
}

SQLRETURN executed(SQLRETURN code) {
  script.result = script.asked = 0;
  script.fetched = 0;
  if (script.results.empty()) script.results.resize(1);
  return code == SQL_SUCCESS && script.parameters > 0 ? static_cast<SQLRETURN>(SQL_NEED_DATA) : code;
}

void* allocate(std::size_t size, void* caller) {
  const bool counts = failing.atLeast > 0 && size >= failing.atLeast && isOfTheLibrary(caller);
  if (counts && --failing.skip < 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
  return allocate(size, __builtin_return_address(0));
}
// The counterparts free what malloc gave, which the address sanitizer would take for a mistake.
extern "C" const char* __asan_default_options() {
  return "alloc_dealloc_mismatch=0";
}

#define CALL(name, parameters, ...)                        \
  SQLRETURN SQL##name parameters {                         \
    return script.enter(#name __VA_OPT__(, ) __VA_ARGS__); \
  }

extern "C" {

unsigned sleep(unsigned seconds) {
  script.enter("sleep", seconds);
  return 0;
}

SQLRETURN SQLAllocHandle(SQLSMALLINT type, SQLHANDLE, SQLHANDLE* handle) {
  static std::uintptr_t next = 0x1000;
  const SQLRETURN code = script.enter("AllocHandle" + std::to_string(type));
  *handle = reinterpret_cast<SQLHANDLE>(next += 16);  // set even on failure, as it may be
  if (SQL_SUCCEEDED(code)) script.handles.insert(*handle);
  return code;
}
SQLRETURN SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
  if (script.handles.erase(handle) != 1) ++script.wrongFrees;
  return script.enter("FreeHandle" + std::to_string(type));
}
CALL(SetEnvAttr, (SQLHENV, SQLINTEGER name, SQLPOINTER value, SQLINTEGER length), name, value, length)
SQLRETURN SQLSetConnectOption(SQLHDBC, SQLUSMALLINT option, SQLULEN value) {
  script.enter("SetConnectOption", option, value);
  return SQL_ERROR;  // drivers may not know it
}
CALL(Connect, (SQLHDBC, SQLCHAR* dsn, SQLSMALLINT n1, SQLCHAR* user, SQLSMALLINT n2, SQLCHAR* word, SQLSMALLINT n3),
     dsn, user, word, n1, n2, n3)
CALL(Disconnect, (SQLHDBC))
SQLRETURN SQLGetInfo(SQLHDBC, SQLUSMALLINT kind, SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT*) {
  copy(value, script.dbms);
  return script.enter("GetInfo", kind, size);
}
SQLRETURN SQLGetDiagRec(SQLSMALLINT, SQLHANDLE, SQLSMALLINT record, SQLCHAR* state, SQLINTEGER* native,
                        SQLCHAR* message, SQLSMALLINT size, SQLSMALLINT*) {
  if (record > static_cast<int>(script.diagnostics.size()) || size != 512) return SQL_NO_DATA;
  copy(state, "HY000");
  copy(message, script.diagnostics[static_cast<std::size_t>(record) - 1]);
  *native = 7;
  return SQL_SUCCESS;
}
SQLRETURN SQLFreeStmt(SQLHSTMT, SQLUSMALLINT option) {
  if (option == SQL_RESET_PARAMS) script.parameters = 0;
  return script.enter("FreeStmt", option);
}
SQLRETURN SQLBindParameter(SQLHSTMT, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT cType, SQLSMALLINT sqlType,
                           SQLULEN size, SQLSMALLINT digits, SQLPOINTER value, SQLLEN length, SQLLEN* indicator) {
  script.parameters = number;
  return script.enter("BindParameter", number, direction, cType, sqlType, size, digits, value, length, *indicator);
}
SQLRETURN SQLExecDirect(SQLHSTMT, SQLCHAR* sql, SQLINTEGER length) {
  return executed(script.enter("ExecDirect", sql, length));
}
SQLRETURN SQLExecDirectW(SQLHSTMT, SQLWCHAR* sql, SQLINTEGER length) {
  std::string units;
  for (; *sql != 0; ++sql)
    units += std::to_string(*sql) + " ";
  return executed(script.enter("ExecDirectW", units + std::to_string(length)));
}
SQLRETURN SQLParamData(SQLHSTMT, SQLPOINTER* token) {
  const SQLRETURN code = script.enter("ParamData");
  if (code != SQL_SUCCESS || script.asked == script.parameters) return code;
  *token = reinterpret_cast<SQLPOINTER>(++script.asked);
  return SQL_NEED_DATA;
}
CALL(PutData, (SQLHSTMT, SQLPOINTER data, SQLLEN length), std::string(static_cast<char*>(data), 4), length)
SQLRETURN SQLNumResultCols(SQLHSTMT, SQLSMALLINT* columns) {
  *columns = static_cast<SQLSMALLINT>(script.current().columns.size());
  return script.enter("NumResultCols");
}
SQLRETURN SQLRowCount(SQLHSTMT, SQLLEN* rows) {
  const SQLRETURN code = script.enter("RowCount");
  *rows = code == SQL_SUCCESS && !script.results.empty() ? script.current().rowCount : -1;
  return code;
}
SQLRETURN SQLMoreResults(SQLHSTMT) {
  const SQLRETURN code = script.enter("MoreResults");
  if (code != SQL_SUCCESS || script.result + 1 >= script.results.size()) return SQL_NO_DATA;
  ++script.result;
  script.fetched = 0;
  return SQL_SUCCESS;
}
SQLRETURN SQLDescribeCol(SQLHSTMT, SQLUSMALLINT number, SQLCHAR* name, SQLSMALLINT size, SQLSMALLINT*,
                         SQLSMALLINT* type, SQLULEN*, SQLSMALLINT*, SQLSMALLINT*) {
  const zrtest::Column& column = script.current().columns.at(number - 1U);
  copy(name, column.name);
  *type = column.type;
  return script.enter("DescribeCol", number, size);
}
SQLRETURN SQLFetch(SQLHSTMT) {
  const SQLRETURN code = script.enter("Fetch");
  if (code != SQL_SUCCESS) return code;
  script.piece.clear();
  return script.fetched++ < script.current().rows ? SQL_SUCCESS : SQL_NO_DATA;
}
SQLRETURN SQLGetData(SQLHSTMT, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER value, SQLLEN size, SQLLEN* length) {
  script.enter("GetData", number, type, size);
  const auto& pieces = script.current().columns.at(number - 1U).pieces;
  const std::size_t index = script.piece[number]++;
  if (index >= pieces.size()) return SQL_NO_DATA;
  std::memcpy(value, pieces[index].bytes.data(), pieces[index].bytes.size());
  if (pieces[index].length != zrtest::kKeep) *length = pieces[index].length;
  return pieces[index].code;
}
}
