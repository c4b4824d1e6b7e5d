#pragma once

#include <deque>
#include <string>
#include <vector>

#include "db/ZrDbColumn.h"
#include "db/ZrDbConnect.h"
#include "db/ZrSqlLoader.h"
#include "support/export.h"
#include "vexa/VexaMutex.h"

class ZR_EXPORT ZrDataAccess {
 public:
  ZrDataAccess();
  virtual ~ZrDataAccess();
  ZrDataAccess(const ZrDataAccess&) = delete;
  ZrDataAccess& operator=(const ZrDataAccess&) = delete;

  void init(const char* connectString, int poolSize, const char* dsn, const char* user, const char* pass);
  void preparePool(int poolSize);
  ZrDbConnect* getConnect();
  void returnConnect(ZrDbConnect* pDBC);
  void purgePool();
  bool reinit();
  void setDbConnectTimeOut(int seconds);
  void setDbRetrialTimeOut(int seconds);
  void setDbReconnectTrial(int count);

  int m_poolReady = 0;
  VEXA::VexaMutex m_mutex;
  int m_dbConnectTimeOut = 30;
  int m_dbRetrialTimeOut = 10;
  int m_dbReconnectTrial = 5;
  std::vector<ZrDbConnect*> m_vecConnect;
  std::deque<ZrDbConnect*> m_deqIdleConnect;
  std::string m_strConnectString;
  std::string m_dsn;
  std::string m_user;
  std::string m_pass;
};
