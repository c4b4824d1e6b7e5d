#include "db/ZrDbConnect.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <unicode/ucnv.h>
#include <unistd.h>

#include "db/ZrDbConnect_internal.h"
#include "db/odbc_util_internal.h"
#include "support/CommonLogging.h"
#include "support/PolicyLog.h"

namespace {

constexpr int kMostDiagnosticRecords = 10;

// A statement that failed in the middle of its data is one that the driver manager will not let go, nor the connection
// with it, until it is cancelled: the server would keep a session for each.
void freeStatement(ZrDbConnect& connect) {
  if (connect.m_hstmt == nullptr) return;
  const SQLRETURN result = SQLFreeHandle(SQL_HANDLE_STMT, connect.m_hstmt);
  if (!zr::succeeded(result) && connect.m_state == 6) {
    SQLCancel(connect.m_hstmt);
    SQLFreeHandle(SQL_HANDLE_STMT, connect.m_hstmt);
  }
  connect.m_hstmt = nullptr;
}

void releaseHandles(ZrDbConnect& connect) {
  freeStatement(connect);
  if (connect.m_hdbc != nullptr) {
    SQLDisconnect(connect.m_hdbc);
    zr::freeHandle(SQL_HANDLE_DBC, connect.m_hdbc);
  }
  zr::freeHandle(SQL_HANDLE_ENV, connect.m_henv);
}

// A connection handle for the next attempt; the environment does not outlive a failure.
void allocateConnection(ZrDbConnect& connect) {
  if (zr::succeeded(SQLAllocHandle(SQL_HANDLE_DBC, connect.m_henv, &connect.m_hdbc))) return;
  connect.m_hdbc = nullptr;
  const zr::Diagnostics diagnostics(connect, SQL_HANDLE_ENV, connect.m_henv);
  zr::freeHandle(SQL_HANDLE_ENV, connect.m_henv);
  LogPrintf("Failed to allocate ODBC HDBC handle.%s", diagnostics.text);
  throw "Failed to allocate ODBC HDBC handle.";
}

SQLCHAR* odbcText(const char* text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text));
}

bool tryToConnect(ZrDbConnect& connect, const char* dsn, const char* user, const char* password) {
  allocateConnection(connect);
  // Drivers may ignore the time-out; that is no reason not to connect.
  SQLSetConnectOption(connect.m_hdbc, SQL_LOGIN_TIMEOUT, static_cast<SQLULEN>(connect.m_connectTimeOut));
  const SQLRETURN result =
      SQLConnect(connect.m_hdbc, odbcText(dsn), SQL_NTS, odbcText(user), SQL_NTS, odbcText(password), SQL_NTS);
  if (zr::succeeded(result)) return true;
  zr::freeHandle(SQL_HANDLE_DBC, connect.m_hdbc);
  return false;
}

void connectWithRetries(ZrDbConnect& connect, const char* dsn, const char* user, const char* password) {
  for (int attempt = 1; attempt <= connect.m_reconnectTrial; ++attempt) {
    if (tryToConnect(connect, dsn, user, password)) return;
    DbgPrintf("Failed to create connection, %d ", attempt);
    sleep(static_cast<unsigned>(std::max(connect.m_retrialTimeOut, 0)));
  }
  zr::freeHandle(SQL_HANDLE_ENV, connect.m_henv);
  throw "Failed to create connection.";
}

void allocateStatement(ZrDbConnect& connect) {
  if (zr::succeeded(SQLAllocHandle(SQL_HANDLE_STMT, connect.m_hdbc, &connect.m_hstmt))) return;
  connect.m_hstmt = nullptr;
  const zr::Diagnostics diagnostics(connect, SQL_HANDLE_DBC, connect.m_hdbc);
  LogPrintf("ZrDbConnect::connect(), failed to alloacte HSTMT handle%s", diagnostics.text);
  throw "Failed to alloacte HSTMT handle";
}

// 0 for Microsoft SQL Server, 1 for everything else.
int readDbmsType(ZrDbConnect& connect) {
  constexpr SQLSMALLINT kNameSize = 256;
  char name[kNameSize + 1] = {};
  SQLSMALLINT length = 0;
  if (SQLGetInfo(connect.m_hdbc, SQL_DBMS_NAME, name, kNameSize, &length) != SQL_SUCCESS) {
    const zr::Diagnostics diagnostics(connect, SQL_HANDLE_DBC, connect.m_hdbc);
    zr::freeHandle(SQL_HANDLE_STMT, connect.m_hstmt);
    LogPrintf("ZrDbConnect::connect, failed to retrieve DBMS information%s", diagnostics.text);
    throw "Failed to retrieve DBMS information";
  }
  for (char* letter = name; *letter != '\0'; ++letter) {
    *letter = static_cast<char>(std::toupper(static_cast<unsigned char>(*letter)));
  }
  const bool microsoft = std::strstr(name, "POSTGRE") == nullptr && std::strstr(name, "MICROSOFT") != nullptr;
  return microsoft ? 0 : 1;
}

}  // namespace

namespace zr {

void TransferBuffer::clearChunk() {
  std::memset(chunk, 0, used);
  used = 0;
}

Diagnostics::Diagnostics(ZrDbConnect& connect, SQLSMALLINT type, SQLHANDLE handle) : text{' '} {
  connect.getError(type, handle, text + 1, sizeof text - 1);
  if (text[1] == '\0') text[0] = '\0';
}

}  // namespace zr

ZrDbConnect::ZrDbConnect() : m_pTransfer(new zr::TransferBuffer) {
  UErrorCode status = U_ZERO_ERROR;
  m_pConverter = ucnv_open("UTF-8", &status);
  if (U_FAILURE(status)) {
    LogPrintf("ZrDbConnect::ZrDbConnect(), failed to create ICU convertor.");
    m_state = 0;
  }
}

ZrDbConnect::~ZrDbConnect() {
  if (m_pConverter != nullptr) ucnv_close(m_pConverter);
  try {
    releaseHandles(*this);
    purgeColumnList();
  } catch (...) {
    LogPrintf("ZrDbConnect::~ZrDbConnect(), failed to cleanup db resource");
  }
}

void ZrDbConnect::setDbConnectTimeOut(int seconds) {
  m_connectTimeOut = seconds;
}

void ZrDbConnect::setDbRetrialTimeOut(int seconds) {
  m_retrialTimeOut = seconds;
}

void ZrDbConnect::setDbReconnectTrial(int count) {
  m_reconnectTrial = count;
}

void ZrDbConnect::setConnID(int id) {
  m_connID = id;
}

int ZrDbConnect::getConnID() const {
  return m_connID;
}

int ZrDbConnect::getState() const {
  return m_state;
}

void ZrDbConnect::createOdbcEnv() {
  if (!zr::succeeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &m_henv))) {
    m_henv = nullptr;
    LogPrintf("Failed to allocate ODBC HENV.");
    throw "Failed to allocate ODBC HENV.";
  }
  const auto version = reinterpret_cast<SQLPOINTER>(static_cast<std::uintptr_t>(SQL_OV_ODBC3));
  if (!zr::succeeded(SQLSetEnvAttr(m_henv, SQL_ATTR_ODBC_VERSION, version, 0))) {
    const zr::Diagnostics diagnostics(*this, SQL_HANDLE_ENV, m_henv);
    LogPrintf("Failed to allocate ODBC env attr.%s", diagnostics.text);
    throw "Failed to allocate ODBC env attr.";
  }
}

void ZrDbConnect::connect(const char* connectString, const char* dsn, const char* user, const char* password) {
  ZR_TRACE("ZrDbConnect::connect() ...\n");
  if (m_state <= 0) throw "ZrDbConnect is not ready to create connection";
  if (connectString == nullptr) throw "DB connection string is NULL";
  if (m_hdbc != nullptr || m_hstmt != nullptr) disconnect();  // also what an earlier, half-way failure left open
  m_state = 1;
  if (m_henv == nullptr) createOdbcEnv();
  connectWithRetries(*this, dsn, user, password);
  allocateStatement(*this);
  m_dbmsType = readDbmsType(*this);
  m_state = 2;
}

void ZrDbConnect::disconnect() {
  try {
    releaseHandles(*this);
  } catch (...) {
    LogPrintf("ZrDbConnect::disconnect(), failed to cleanup db resource");
  }
  purgeColumnList();
  m_columnCount = 0;
  m_resultSetNo = 0;
  m_describedRowCount = -1;
  m_state = 1;
}

SQLHSTMT ZrDbConnect::getStmtHandle() {
  if (m_state < 2) {
    DbgPrintf("getStmtHandle(), connection is not ready.");
    throw "Connection is not ready.";
  }
  SQLFreeStmt(m_hstmt, SQL_CLOSE);
  return m_hstmt;
}

void ZrDbConnect::getError(short handleType, void* handle, char* buffer, int bufferSize) {
  if (buffer == nullptr || bufferSize < 1) return;
  buffer[0] = '\0';
  constexpr SQLSMALLINT kMessageSize = 512;
  SQLCHAR state[6 + 1] = {};
  SQLCHAR message[kMessageSize + 1] = {};
  SQLINTEGER nativeError = 0;
  SQLSMALLINT length = 0;
  const auto room = static_cast<std::size_t>(bufferSize);
  std::size_t end = 0;
  for (SQLSMALLINT record = 1;; ++record) {
    const SQLRETURN result =
        SQLGetDiagRec(handleType, handle, record, state, &nativeError, message, kMessageSize, &length);
    if (result == SQL_NO_DATA) return;
    std::snprintf(buffer + end, room - end, "- %s [State:%s][NativeErr:%d]", reinterpret_cast<char*>(message),
                  reinterpret_cast<char*>(state), static_cast<int>(nativeError));
    buffer[room - 1] = '\0';
    end += std::strlen(buffer + end);
    if (record > kMostDiagnosticRecords) break;
  }
  LogPrintf("ZrDbConnect::getError(), the number of diag errors is greater then 10, might be something wrong.");
}

void ZrDbConnect::purgeColumnList() {
  for (const auto& [name, column] : m_mapColumn)
    delete column;
  m_mapColumn.clear();
  m_state = 2;
}
