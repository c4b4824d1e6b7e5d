#pragma once

#include <map>
#include <sql.h>
#include <sqlext.h>
#include <string>

#include "db/ZrDbColumn.h"
#include "support/export.h"
#include "vexa/VexaMutex.h"

struct UConverter;

struct caseInsensitiveLessDef {
  bool operator()(const std::string& a, const std::string& b) const;
};

class ZR_EXPORT ZrDbConnect {
 public:
  enum SQL_TYPE : int { SQLTYPE_ANSI = 0, SQLTYPE_UNICODE = 1 };

  ZrDbConnect();
  virtual ~ZrDbConnect();
  ZrDbConnect(const ZrDbConnect&) = delete;
  ZrDbConnect& operator=(const ZrDbConnect&) = delete;

  void setDbConnectTimeOut(int seconds);
  void setDbRetrialTimeOut(int seconds);
  void setDbReconnectTrial(int count);
  void setConnID(int id);
  int getConnID() const;
  int getState() const;
  void createOdbcEnv();
  void connect(const char* connectString, const char* dsn, const char* user, const char* password);
  void disconnect();
  SQLHSTMT getStmtHandle();
  void getError(short handleType, void* handle, char* buffer, int bufferSize);
  void purgeColumnList();

  void executeSQL(const char* sql, SQL_TYPE type, ...);
  int getParamCount(const char* sql);
  SQLLEN getRowCount();

  int fetchNextResultSet();
  int fetchNextRow();
  const char* getColVal(const char* szColName);
  int getColValInt(const char* szColName);
  long long getColValLongLong(const char* szColName);

  SQLHDBC m_hdbc = nullptr;
  int m_state = 1;
  int m_connID = 0;
  int m_columnCount = 0;
  int m_resultSetNo = 0;
  int m_connectTimeOut = 30;
  int m_retrialTimeOut = 10;
  int m_reconnectTrial = 5;
  int m_dbmsType = 0;
  VEXA::VexaMutex m_mutex;
  std::map<std::string, ZrDbColumn*, caseInsensitiveLessDef> m_mapColumn;
  SQLHSTMT m_hstmt = nullptr;
  SQLHENV m_henv = nullptr;
  UConverter* m_pConverter = nullptr;
};
