#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>

#include "db/ZrDbConnect.h"
#include "db/ZrDbConnect_internal.h"
#include "db/odbc_util_internal.h"
#include "support/CommonLogging.h"
#include "support/base64.h"

namespace {

// The streams behind a statement, still where the caller put them: a list of them would need memory, which can fail.
struct Streams {
  std::size_t count;
  std::va_list* args;

  // The stream of the parameter with this number, from 1; null when there is none. The caller's streams are only read;
  // that changes their position, so the const of the argument list goes here.
  std::ifstream* of(std::uintptr_t number) const {
    if (number < 1 || number > count) return nullptr;
    std::va_list copy;
    va_copy(copy, *args);
    const std::ifstream* stream = nullptr;
    for (std::uintptr_t i = 0; i < number; ++i)
      stream = va_arg(copy, const std::ifstream*);
    va_end(copy);
    return const_cast<std::ifstream*>(stream);
  }
};

constexpr SQLULEN kLongestParameter = 0x7FFFFFFE;

// Marks the connection broken, so that the pool replaces it.
void breakConnection(ZrDbConnect& connect, const char* text) {
  const zr::Diagnostics diagnostics(connect, SQL_HANDLE_STMT, connect.m_hstmt);
  LogPrintf("%s%s", text, diagnostics.text);
  connect.m_state = 6;
}

// Where the literal that begins behind `quote` ends: at its closing quote, or null when it has none.
const char* endOfLiteral(const char* quote) {
  const char* end = std::strchr(quote + 1, '\'');
  while (end != nullptr && end[1] == '\'')
    end = std::strchr(end + 2, '\'');
  return end;
}

// Every parameter is bound to data that is asked for while the statement executes; its value pointer is its number.
void bindParameters(ZrDbConnect& connect, std::size_t count) {
  for (std::size_t number = 1; number <= count; ++number) {
    DbgPrintf("ZrDbConnect::executeSQL(), bind parameter #%d", static_cast<int>(number));
    const SQLRETURN result = SQLBindParameter(
        connect.m_hstmt, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT, SQL_C_BINARY, SQL_LONGVARCHAR,
        kLongestParameter, 0, reinterpret_cast<SQLPOINTER>(number), 0, &connect.m_pTransfer->dataAtExec);
    if (zr::succeeded(result)) continue;
    breakConnection(connect, "ZrDbConnect::executeSQL(), failed to bind parameter");
    throw "ZrDbConnect::executeSQL(), failed to bind parameter";
  }
}

SQLRETURN executeUtf16(ZrDbConnect& connect, const char* sql) {
  std::unique_ptr<char16_t[]> utf16;
  switch (zr::utf8ToUtf16(connect.m_pConverter, sql, utf16)) {
    case zr::Conversion::kDone:
      return SQLExecDirectW(connect.m_hstmt, reinterpret_cast<SQLWCHAR*>(utf16.get()), SQL_NTS);
    case zr::Conversion::kNoTargetMemory:
      LogPrintf(
          "ZrDbConnect::executeSQL() failed to allocate memory for UTF-8 to UTF-16 conversion.  Check system "
          "processes for excessive memory consumption.");
      throw "ZrDbConnect::executeSQL(), failed to allocate memory for UTF-8 to UTF-16 conversion";
    default:
      LogPrintf("ZrDbConnect::executeSQL(), failed to convert UTF-8 to UTF-16");
      throw "ZrDbConnect::executeSQL(), failed to convert UTF-8 to UTF-16";
  }
}

SQLRETURN execute(ZrDbConnect& connect, const char* sql, ZrDbConnect::SQL_TYPE type) {
  if (type == ZrDbConnect::SQLTYPE_UNICODE) return executeUtf16(connect, sql);
  return SQLExecDirect(connect.m_hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql)), SQL_NTS);
}

void sendChunk(ZrDbConnect& connect, int size, int number) {
  DbgPrintf("ZrDbConnect::executeSQL(), data read from stream, len=%d, count=%d", size, number);
  zr::TransferBuffer& buffer = *connect.m_pTransfer;
  ToB64Enc(buffer.chunk, buffer.base64, size);
  const auto length = static_cast<SQLLEN>(std::strlen(buffer.base64));
  const SQLRETURN result = SQLPutData(connect.m_hstmt, buffer.base64, length);
  DbgPrintf("ZrDbConnect::executeSQL(), SQLPutData(), nRet=%d", static_cast<int>(result));
  if (zr::succeeded(result)) return;
  breakConnection(connect, "ZrDbConnect::executeSQL(), failed on SQLPutData");
  throw "Failed on SQLPutData";
}

void sendStream(ZrDbConnect& connect, std::ifstream* stream) {
  zr::TransferBuffer& buffer = *connect.m_pTransfer;
  buffer.used = sizeof buffer.chunk;
  for (int number = 1; stream != nullptr && stream->good(); ++number) {
    stream->read(buffer.chunk, sizeof buffer.chunk);
    const auto size = static_cast<int>(stream->gcount());
    if (size == 0) return;
    sendChunk(connect, size, number);
  }
}

// Sends each parameter that the driver asks for, by the number that it was bound with.
void sendParameters(ZrDbConnect& connect, const Streams& streams) {
  SQLPOINTER token = nullptr;
  SQLRETURN result;
  while ((result = SQLParamData(connect.m_hstmt, &token)) == SQL_NEED_DATA)
    sendStream(connect, streams.of(reinterpret_cast<std::uintptr_t>(token)));
  if (zr::succeeded(result)) return;
  breakConnection(connect, "ZrDbConnect::executeSQL(), failed on SQLParamData");
  throw "ZrDbConnect::executeSQL(), failed on SQLParamData";
}

void sendParametersOrBreak(ZrDbConnect& connect, const Streams& streams) {
  DbgPrintf("After SQL_NEED_DATA == nRet");
  try {
    sendParameters(connect, streams);
  } catch (...) {
    connect.m_state = 6;  // a stream that throws leaves the handle in the middle of the data, too
    throw;
  }
}

void checkExecution(ZrDbConnect& connect, SQLRETURN result, const char* sql) {
  if (zr::succeeded(result) || result == SQL_NO_DATA) return;
  const zr::Diagnostics diagnostics(connect, SQL_HANDLE_STMT, connect.m_hstmt);
  LogPrintf("Failed to execute SQL::%s%s", sql, diagnostics.text);
  connect.m_state = 6;
  throw "Failed to execute SQL";
}

void run(ZrDbConnect& connect, const char* sql, ZrDbConnect::SQL_TYPE type, const Streams& streams) {
  connect.m_describedRowCount = -1;
  bindParameters(connect, streams.count);
  const SQLRETURN result = execute(connect, sql, type);
  DbgPrintf("ZrDbConnect::executeSQL(), after SQLExecDirect(), nRet: %d", static_cast<int>(result));
  if (result == SQL_NEED_DATA) {
    sendParametersOrBreak(connect, streams);
  } else {
    checkExecution(connect, result, sql);
  }
  connect.m_state = 3;
  connect.m_resultSetNo = 1;
  zr::describeResultSet(connect);
}

}  // namespace

void ZrDbConnect::executeSQL(const char* sql, SQL_TYPE type, ...) {
  if (sql == nullptr) {
    DbgPrintf("ZrDbConnect::executeSQL(), NULL SQL statement.");
    throw "NULL SQL statement.";
  }
  if (m_state < 2) {
    DbgPrintf("ZrDbConnect::executeSQL(), connection is not ready.");
    throw "Connection is not ready.";
  }
  SQLFreeStmt(m_hstmt, SQL_CLOSE);
  SQLFreeStmt(m_hstmt, SQL_RESET_PARAMS);
  const int count = getParamCount(sql);
  DbgPrintf("ZrDbConnect::executeSQL(), SQL parameter count: %d.", count);
  std::va_list args;
  va_start(args, type);
  try {
    run(*this, sql, type, {static_cast<std::size_t>(count), &args});
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
}

int ZrDbConnect::getParamCount(const char* sql) {
  int count = 0;
  const char* at = sql;
  while (at != nullptr && (at = std::strpbrk(at, "?'")) != nullptr) {
    if (*at == '?') {
      ++count;
      ++at;
      continue;
    }
    at = endOfLiteral(at);
    if (at == nullptr || at[1] == '\0') break;
    at += 2;  // what follows the closing quote is not looked at
  }
  return count;
}

SQLLEN ZrDbConnect::getRowCount() {
  SQLLEN rows = 0;
  const SQLRETURN result = SQLRowCount(m_hstmt, &rows);
  // A driver manager refuses to count again once it has been asked for more results.
  if (!zr::succeeded(result) && rows < 0 && m_describedRowCount >= 0) rows = m_describedRowCount;
  return rows;
}
