#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "db/ZrDbConnect.h"
#include "db/ZrDbConnect_internal.h"
#include "db/odbc_util_internal.h"
#include "support/CommonLogging.h"

namespace {

constexpr SQLSMALLINT kNameSize = 256;
using ColumnName = char[kNameSize + 1];

SQLSMALLINT readColumnCount(ZrDbConnect& connect) {
  SQLSMALLINT columns = 0;
  if (!zr::succeeded(SQLNumResultCols(connect.m_hstmt, &columns))) {
    const zr::Diagnostics diagnostics(connect, SQL_HANDLE_STMT, connect.m_hstmt);
    LogPrintf("Failed to get column count...%s", diagnostics.text);
    throw "Failed to get column count.";
  }
  DbgPrintf("ResultSet #%d, column count : %d", connect.m_resultSetNo, columns);
  return columns;
}

void readRowCount(ZrDbConnect& connect) {
  SQLLEN rows = 0;
  if (!zr::succeeded(SQLRowCount(connect.m_hstmt, &rows))) {
    const zr::Diagnostics diagnostics(connect, SQL_HANDLE_STMT, connect.m_hstmt);
    LogPrintf("Failed to get raw count...%s", diagnostics.text);
    throw "Failed to get raw count.";
  }
  connect.m_describedRowCount = rows;
  if (rows < 0) {
    DbgPrintf("ResultSet #%d, no raw count.", connect.m_resultSetNo);
  } else {
    DbgPrintf("ResultSet #%d, row count : %d", connect.m_resultSetNo, static_cast<int>(rows));
  }
}

// Passes over results without columns. The number is raised for the last of them too, when nothing follows it.
int findColumns(ZrDbConnect& connect) {
  for (;;) {
    const SQLSMALLINT columns = readColumnCount(connect);
    readRowCount(connect);
    if (columns != 0) return columns;
    const SQLRETURN result = SQLMoreResults(connect.m_hstmt);
    ++connect.m_resultSetNo;
    if (!zr::succeeded(result)) return 0;
  }
}

std::unique_ptr<ZrDbColumn> describeColumn(ZrDbConnect& connect, int number, ColumnName& name) {
  SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
  SQLULEN size = 0;
  const SQLRETURN result =
      SQLDescribeCol(connect.m_hstmt, static_cast<SQLUSMALLINT>(number), reinterpret_cast<SQLCHAR*>(name), kNameSize,
                     &nameLength, &type, &size, &digits, &nullable);
  if (!zr::succeeded(result)) {
    const zr::Diagnostics diagnostics(connect, SQL_HANDLE_STMT, connect.m_hstmt);
    LogPrintf("Failed to get columns information, column [%d].%s", number, diagnostics.text);
    throw "Failed to get columns information";
  }
  auto column = std::make_unique<ZrDbColumn>();
  column->m_colNo = number;
  column->m_sqlType = type;
  column->m_name = name;
  return column;
}

void fileColumn(ZrDbConnect& connect, std::unique_ptr<ZrDbColumn> column) {
  if (!connect.m_mapColumn.emplace(column->m_name, column.get()).second) {
    LogPrintf("Failed to insert column object into map, column [%s].", column->m_name.c_str());
    throw "Failed to insert column object into map";
  }
  static_cast<void>(column.release());  // the map's now
}

void describeColumns(ZrDbConnect& connect) {
  ColumnName name = {};
  try {
    // Here, where it has a text of its own to fail with, and not at the first row.
    connect.m_vecColumnByNo.reserve(static_cast<std::size_t>(std::max(connect.m_columnCount, 0)));
    for (int number = 1; number <= connect.m_columnCount; ++number)
      fileColumn(connect, describeColumn(connect, number, name));
  } catch (const std::bad_alloc&) {
    LogPrintf("Failed to allocate ZrDbColumn object.");
    connect.purgeColumnList();
    throw "Failed to allocate ZrDbColumn object.";
  } catch (...) {
    connect.purgeColumnList();
    throw;
  }
}

// Notes the columns by number as a walk over the map, in the order of the names, meets them: the first of a number
// counts, and an entry without a column ends the walk. Once a row, so that it holds whatever the host did to the map.
// Returns whether the walk reached the end of the map.
bool indexColumns(ZrDbConnect& connect) {
  auto& columns = connect.m_vecColumnByNo;
  columns.assign(static_cast<std::size_t>(std::max(connect.m_columnCount, 0)), nullptr);
  for (const auto& [name, column] : connect.m_mapColumn) {
    if (column == nullptr) return false;
    const auto index = static_cast<std::size_t>(column->m_colNo) - 1;
    if (index < columns.size() && columns[index] == nullptr) columns[index] = column;
  }
  return true;
}

[[noreturn]] void failToRead(ZrDbConnect& connect) {
  const zr::Diagnostics diagnostics(connect, SQL_HANDLE_STMT, connect.m_hstmt);
  LogPrintf("ZrDbConnect::fetchNextRow(), failed to fetch char data%s", diagnostics.text);
  throw "Failed to fetch char data";
}

[[noreturn]] void failToConvert(const char* format, const ZrDbColumn& column) {
  LogPrintf(format, column.m_name.c_str());
  throw "Failed to convert UTF-16 data to UTF-8.";
}

void storeWideText(ZrDbConnect& connect, const icu::UnicodeString& text, ZrDbColumn& column) {
  switch (zr::utf16ToUtf8(connect.m_pConverter, text, column.m_value)) {
    case zr::Conversion::kDone:
      return;
    case zr::Conversion::kNoTargetMemory:
      failToConvert("Failed to allocate target buffer for converting UTF-16 data to UTF-8. Column name: %s", column);
    case zr::Conversion::kNoSourceMemory:
      failToConvert("Failed to allocate source buffer for converting UTF-16 data to UTF-8. Column name: %s", column);
    default:
      failToConvert("Failed to convert UTF-16 data to UTF-8. Column name: %s", column);
  }
}

int lengthForTrace(SQLLEN length) {
  constexpr auto kBytes = static_cast<SQLLEN>(zr::kWideUnits * sizeof(char16_t));
  return length > kBytes || length == SQL_NO_TOTAL ? static_cast<int>(zr::kWideUnits) : static_cast<int>(length);
}

void readWide(ZrDbConnect& connect, ZrDbColumn& column) {
  char16_t* wide = connect.m_pTransfer->wide;
  wide[zr::kWideUnits] = u'\0';
  icu::UnicodeString text;
  SQLLEN length = SQL_NO_TOTAL;  // what a driver that sets none means; a failed call must not look like an empty value
  for (;;) {
    wide[0] = u'\0';
    const SQLRETURN result = SQLGetData(connect.m_hstmt, static_cast<SQLUSMALLINT>(column.m_colNo), SQL_C_WCHAR, wide,
                                        zr::kWideUnits * sizeof(char16_t), &length);
    if (result == SQL_NO_DATA) break;
    if (length == 0 || length == SQL_NULL_DATA) {
      column.m_value.clear();
      column.m_isNull = length == SQL_NULL_DATA;
      return;
    }
    DbgPrintf("ZrDbConnect::fetchNextRow(), UChar data retrieved from DB, len:%d", lengthForTrace(length));
    if (!zr::succeeded(result)) failToRead(connect);
    // Pieces are joined before they are converted: a pair of surrogates may be cut by their border.
    text.append(wide, static_cast<std::int32_t>(std::char_traits<char16_t>::length(wide)));
  }
  storeWideText(connect, text, column);
}

// Takes what is in the chunk into the value, and notes how far the chunk has to be cleared before the next column.
void takeChunk(zr::TransferBuffer& buffer, SQLLEN reported, std::string& value) {
  const std::size_t length = std::min<std::size_t>(static_cast<SQLULEN>(reported), sizeof buffer.chunk - 1);
  buffer.chunk[length] = '\0';
  const std::size_t textLength = std::strlen(buffer.chunk);
  const std::size_t touched = reported == SQL_NULL_DATA ? textLength : length;
  buffer.used = std::max(buffer.used, touched + 1);
  if (length == 0) {
    value.clear();
  } else {
    value.append(buffer.chunk, textLength);
  }
}

void readText(ZrDbConnect& connect, ZrDbColumn& column) {
  zr::TransferBuffer& buffer = *connect.m_pTransfer;
  column.m_value.clear();
  SQLLEN length = 0;
  SQLRETURN result;
  do {
    result = SQLGetData(connect.m_hstmt, static_cast<SQLUSMALLINT>(column.m_colNo), SQL_C_CHAR, buffer.chunk,
                        sizeof buffer.chunk, &length);
    DbgPrintf("ZrDbConnect::fetchNextRow(), char data retrieved from DB, len:%d", static_cast<int>(length));
    if (!zr::succeeded(result)) {
      buffer.used = sizeof buffer.chunk;
      failToRead(connect);
    }
    takeChunk(buffer, length, column.m_value);
    column.m_isNull = length == SQL_NULL_DATA && column.m_value.empty();
  } while (result == SQL_SUCCESS_WITH_INFO);
}

void readValue(ZrDbConnect& connect, ZrDbColumn& column) {
  column.m_isNull = false;
  switch (column.m_sqlType) {
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR:
      return readWide(connect, column);
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
      DbgPrintf("ZrDbConnect::fetchNextRow(), it's a binary type, col name: %s", column.m_name.c_str());
      column.m_value = "BINARY DATA";
      return;
    default:
      return readText(connect, column);
  }
}

void readRow(ZrDbConnect& connect) {
  const bool whole = indexColumns(connect);
  for (ZrDbColumn* column : connect.m_vecColumnByNo) {
    connect.m_pTransfer->clearChunk();
    if (column == nullptr) {
      const char* text =
          whole ? "Could not found matched ZrDbColumn object" : "Failed to retrieve ZrDbColumn object from map list.";
      LogPrintf("%s", text);
      throw text;
    }
    readValue(connect, *column);
  }
}

// Reads `text` as exactly one decimal integer; numbers out of the 64-bit range end at its borders.
long long readInteger(const char* text, const char* column) {
  char* end = nullptr;
  const int savedErrno = errno;
  const long long number = std::strtoll(text, &end, 10);
  errno = savedErrno;
  const bool found = end != text;
  if (found && *end == '\0') return number;
  if (found) LogPrintf("Invalid character = %c\n", *end);
  LogPrintf("Could not convert string to int, column name:[%s], value:[%s]", column, text);
  return number;
}

}  // namespace

void zr::describeResultSet(ZrDbConnect& connect) {
  connect.m_state = 3;
  connect.purgeColumnList();
  connect.m_columnCount = findColumns(connect);
  describeColumns(connect);
  connect.m_state = 4;
}

int ZrDbConnect::fetchNextResultSet() {
  if (m_state < 3) {
    LogPrintf("No SQL has been executed.");
    throw "No SQL has been executed.";
  }
  if (!zr::succeeded(SQLMoreResults(m_hstmt))) return 1;
  ++m_resultSetNo;
  zr::describeResultSet(*this);
  return 0;
}

int ZrDbConnect::fetchNextRow() {
  if (m_state < 4) {
    LogPrintf("Column information is not ready.");
    throw "Column information is not ready.";
  }
  if (m_columnCount == 0) return 1;
  const SQLRETURN result = SQLFetch(m_hstmt);
  if (result == SQL_NO_DATA) return 1;
  if (!zr::succeeded(result)) {
    const zr::Diagnostics diagnostics(*this, SQL_HANDLE_STMT, m_hstmt);
    LogPrintf("Failed to fetch next row.%s", diagnostics.text);
    throw "Failed to fetch next row.";
  }
  readRow(*this);
  m_state = 5;
  return 0;
}

const char* ZrDbConnect::getColVal(const char* szColName) {
  if (szColName == nullptr) throw "NULL szColName parameter";
  if (m_state < 5 || m_mapColumn.empty()) {
    LogPrintf("The data is not ready");
    throw "The data is not ready";
  }
  const auto found = m_mapColumn.find(szColName);
  if (found == m_mapColumn.end() || found->second == nullptr) {
    LogPrintf("ZrDbConnect::getColVal() Can not find data column name is%s\n", szColName);
    throw "Can not find data\n";
  }
  return found->second->m_value.c_str();
}

int ZrDbConnect::getColValInt(const char* szColName) {
  const char* text = getColVal(szColName);
  const long long number = readInteger(text, szColName);
  return static_cast<int>(std::clamp<long long>(number, INT_MIN, INT_MAX));
}

long long ZrDbConnect::getColValLongLong(const char* szColName) {
  const char* text = getColVal(szColName);
  return readInteger(text, szColName);
}
