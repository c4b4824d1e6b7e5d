#include "db/scripted_odbc.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <new>
#include <unistd.h>

namespace zrtest {
namespace {

ScriptedOdbc g_odbc;
std::size_t g_failAtLeast = 0;
int g_skip = 0;

}  // namespace

ScriptedOdbc& odbc() {
  return g_odbc;
}

void startScript() {
  g_odbc = ScriptedOdbc();
}

void failAllocations(std::size_t atLeast, int skip) {
  g_failAtLeast = atLeast;
  g_skip = skip;
}

SQLRETURN ScriptedOdbc::enter(const std::string& call, const std::string& arguments) {
  if (call == throwsIn) throw 42;
  calls.push_back(arguments.empty() ? call : call + " " + arguments);
  const auto fault = faults.find(call);
  return fault != faults.end() && --fault->second.first == 0 ? fault->second.second : SQL_SUCCESS;
}

int ScriptedOdbc::count(const std::string& call) const {
  return static_cast<int>(std::count_if(calls.begin(), calls.end(), [&](const std::string& line) {
    return line == call || line.rfind(call + " ", 0) == 0;
  }));
}

}  // namespace zrtest

using zrtest::g_odbc;

namespace {

std::string words(std::initializer_list<long long> numbers) {
  std::string text;
  for (const long long number : numbers)
    text += (text.empty() ? "" : " ") + std::to_string(number);
  return text;
}

void copy(void* to, const std::string& text) {
  std::memcpy(to, text.c_str(), text.size() + 1);
}

const char* text(const SQLCHAR* bytes) {
  return reinterpret_cast<const char*>(bytes);
}

bool isOfTheLibrary(void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "libzrpolicy") != nullptr;
}

SQLRETURN executed(SQLRETURN code) {
  g_odbc.result = 0;
  g_odbc.asked = 0;
  g_odbc.fetched = 0;
  if (g_odbc.results.empty()) g_odbc.results.resize(1);
  return code == SQL_SUCCESS && g_odbc.parameters > 0 ? static_cast<SQLRETURN>(SQL_NEED_DATA) : code;
}

void* allocate(std::size_t size, void* caller) {
  if (zrtest::g_failAtLeast > 0 && size >= zrtest::g_failAtLeast && isOfTheLibrary(caller) && --zrtest::g_skip < 0) {
    throw std::bad_alloc();
  }
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
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

extern "C" {

unsigned sleep(unsigned seconds) {
  g_odbc.enter("sleep", std::to_string(seconds));
  return 0;
}

SQLRETURN SQLAllocHandle(SQLSMALLINT type, SQLHANDLE, SQLHANDLE* handle) {
  static std::uintptr_t next = 0x1000;
  const SQLRETURN code = g_odbc.enter("AllocHandle" + std::to_string(type));
  *handle = reinterpret_cast<SQLHANDLE>(next += 16);  // set even on failure, as it may be
  if (SQL_SUCCEEDED(code)) g_odbc.handles.insert(*handle);
  return code;
}
SQLRETURN SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
  if (g_odbc.handles.erase(handle) != 1) ++g_odbc.wrongFrees;
  return g_odbc.enter("FreeHandle" + std::to_string(type));
}
SQLRETURN SQLSetEnvAttr(SQLHENV, SQLINTEGER name, SQLPOINTER value, SQLINTEGER length) {
  return g_odbc.enter("SetEnvAttr", words({name, static_cast<long long>(reinterpret_cast<intptr_t>(value)), length}));
}
SQLRETURN SQLSetConnectOption(SQLHDBC, SQLUSMALLINT option, SQLULEN value) {
  g_odbc.enter("SetConnectOption", words({option, static_cast<long long>(value)}));
  return SQL_ERROR;  // drivers may not know it
}
SQLRETURN SQLConnect(SQLHDBC, SQLCHAR* dsn, SQLSMALLINT n1, SQLCHAR* user, SQLSMALLINT n2, SQLCHAR* password,
                     SQLSMALLINT n3) {
  return g_odbc.enter("Connect",
                      std::string(text(dsn)) + " " + text(user) + " " + text(password) + " " + words({n1, n2, n3}));
}
SQLRETURN SQLDisconnect(SQLHDBC) {
  return g_odbc.enter("Disconnect");
}
SQLRETURN SQLGetInfo(SQLHDBC, SQLUSMALLINT kind, SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT*) {
  copy(value, g_odbc.dbms);
  return g_odbc.enter("GetInfo", words({kind, size}));
}
SQLRETURN SQLGetDiagRec(SQLSMALLINT, SQLHANDLE, SQLSMALLINT record, SQLCHAR* state, SQLINTEGER* native,
                        SQLCHAR* message, SQLSMALLINT size, SQLSMALLINT*) {
  if (record > static_cast<int>(g_odbc.diagnostics.size()) || size != 512) return SQL_NO_DATA;
  copy(state, "HY000");
  copy(message, g_odbc.diagnostics[static_cast<std::size_t>(record) - 1]);
  *native = 7;
  return SQL_SUCCESS;
}
SQLRETURN SQLFreeStmt(SQLHSTMT, SQLUSMALLINT option) {
  if (option == SQL_RESET_PARAMS) g_odbc.parameters = 0;
  return g_odbc.enter("FreeStmt", words({option}));
}
SQLRETURN SQLBindParameter(SQLHSTMT, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT cType, SQLSMALLINT sqlType,
                           SQLULEN size, SQLSMALLINT digits, SQLPOINTER value, SQLLEN length, SQLLEN* indicator) {
  g_odbc.parameters = number;
  return g_odbc.enter("BindParameter",
                      words({number, direction, cType, sqlType, static_cast<long long>(size), digits,
                             static_cast<long long>(reinterpret_cast<intptr_t>(value)), length, *indicator}));
}
SQLRETURN SQLExecDirect(SQLHSTMT, SQLCHAR* sql, SQLINTEGER length) {
  return executed(g_odbc.enter("ExecDirect", text(sql) + (" " + words({length}))));
}
SQLRETURN SQLExecDirectW(SQLHSTMT, SQLWCHAR* sql, SQLINTEGER length) {
  std::string units;
  for (; *sql != 0; ++sql)
    units += std::to_string(*sql) + " ";
  return executed(g_odbc.enter("ExecDirectW", units + words({length})));
}
SQLRETURN SQLParamData(SQLHSTMT, SQLPOINTER* token) {
  const SQLRETURN code = g_odbc.enter("ParamData");
  if (code != SQL_SUCCESS || g_odbc.asked == g_odbc.parameters) return code;
  *token = reinterpret_cast<SQLPOINTER>(++g_odbc.asked);
  return SQL_NEED_DATA;
}
SQLRETURN SQLPutData(SQLHSTMT, SQLPOINTER data, SQLLEN length) {
  if (g_odbc.put.empty()) g_odbc.firstPut.assign(static_cast<char*>(data), static_cast<std::size_t>(length));
  g_odbc.put.push_back(length);
  return g_odbc.enter("PutData");
}
SQLRETURN SQLNumResultCols(SQLHSTMT, SQLSMALLINT* columns) {
  *columns = static_cast<SQLSMALLINT>(g_odbc.current().columns.size());
  return g_odbc.enter("NumResultCols");
}
SQLRETURN SQLRowCount(SQLHSTMT, SQLLEN* rows) {
  const SQLRETURN code = g_odbc.enter("RowCount");
  *rows = code == SQL_SUCCESS && !g_odbc.results.empty() ? g_odbc.current().rowCount : -1;
  return code;
}
SQLRETURN SQLMoreResults(SQLHSTMT) {
  const SQLRETURN code = g_odbc.enter("MoreResults");
  if (code != SQL_SUCCESS || g_odbc.result + 1 >= g_odbc.results.size()) return SQL_NO_DATA;
  ++g_odbc.result;
  g_odbc.fetched = 0;
  return SQL_SUCCESS;
}
SQLRETURN SQLDescribeCol(SQLHSTMT, SQLUSMALLINT number, SQLCHAR* name, SQLSMALLINT size, SQLSMALLINT*,
                         SQLSMALLINT* type, SQLULEN*, SQLSMALLINT*, SQLSMALLINT*) {
  const zrtest::Column& column = g_odbc.current().columns.at(number - 1U);
  copy(name, column.name);
  *type = column.type;
  return g_odbc.enter("DescribeCol", words({number, size}));
}
SQLRETURN SQLFetch(SQLHSTMT) {
  const SQLRETURN code = g_odbc.enter("Fetch");
  if (code != SQL_SUCCESS) return code;
  g_odbc.piece.clear();
  return g_odbc.fetched++ < g_odbc.current().rows ? SQL_SUCCESS : SQL_NO_DATA;
}
SQLRETURN SQLGetData(SQLHSTMT, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER value, SQLLEN size, SQLLEN* length) {
  g_odbc.enter("GetData", words({number, type, size}));
  const auto& pieces = g_odbc.current().columns.at(number - 1U).pieces;
  const std::size_t index = g_odbc.piece[number]++;
  if (index >= pieces.size()) return SQL_NO_DATA;
  std::memcpy(value, pieces[index].bytes.data(), pieces[index].bytes.size());
  if (pieces[index].length != zrtest::kKeep) *length = pieces[index].length;
  return pieces[index].code;
}
}
