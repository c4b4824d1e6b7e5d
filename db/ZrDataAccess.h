#ifndef ZR_DB_ZRDATAACCESS_H
#define ZR_DB_ZRDATAACCESS_H

#include <deque>
#include <string>
#include <vector>

#include "db/ZrDbColumn.h"
#include "db/ZrDbConnect.h"
#include "db/ZrSqlLoader.h"
#include "support/export.h"
#include "vexa/VexaMutex.h"

// A fixed number of open connections to one database, lent to the threads of the host.
//
// Ownership: the pool owns every connection, idle or lent. A borrower gives it back and never deletes it.
// Threads: getConnect, returnConnect and reinit may run at the same time in any threads. init, preparePool, purgePool,
// the setters and the destructor may not: call them only while no other thread uses the pool and nothing is lent.
// The lock is held for work on the containers only, never while a connection is made, closed or deleted.
// Failures: thrown as const char*, static text, not freed by the catcher.
class ZR_EXPORT ZrDataAccess {
 public:
  // An empty pool that is not ready: init fills it.
  ZrDataAccess();
  // Purges the pool. Never throws; a failure is logged as
  // "ZrDataAccess::~ZrDataAccess(), failed to cleanup connection pool".
  virtual ~ZrDataAccess();
  ZrDataAccess(const ZrDataAccess&) = delete;
  ZrDataAccess& operator=(const ZrDataAccess&) = delete;

  // Copies the four strings, as ZrDbConnect::connect takes them (`dsn`, `user` and `pass` not null), and builds the
  // pool anew with `poolSize` connections, as purgePool and preparePool do. Writes the strings, the password in clear
  // among them, into a trace line (level 4).
  //
  // Throws, with nothing changed, "NULL or 0 parameters" when `connectString` is null or `poolSize` 0, and "Failed to
  // allocate ZrDbConnect instance." when there is no memory for the strings; else as preparePool does.
  void init(const char* connectString, int poolSize, const char* dsn, const char* user, const char* pass);

  // Adds `poolSize` connections with the IDs 1, 2, ... to an empty pool, connects each in turn, and makes the pool
  // ready. A size below 1 gives a ready pool without connections.
  //
  // Throws, with the pool purged and not ready
  //   "Failed to allocate ZrDbConnect instance."  no memory; logged
  //   whatever ZrDbConnect::connect throws        a connection could not connect
  void preparePool(int poolSize);

  // Lends the connection at the front of the idle queue. Never waits for one and never adds one to the pool.
  //
  // Returns a connection, never null, that is the calling thread's own until returnConnect. After a reinit that
  // answered false it may be unconnected (state 1): statements on it fail until a later reinit succeeds.
  //
  // A broken connection (state 6) is first replaced by a new one with the same ID, which takes its place in the pool;
  // the old one is deleted. The new one connects on the calling thread, outside the lock: up to m_dbReconnectTrial
  // attempts, m_dbRetrialTimeOut seconds after each failed one.
  //
  // Throws
  //   "Connection pool is not ready."             before init, after purgePool, while reinit runs; logged
  //   "Out of Db connection in pool."             no connection is idle; logged
  //   "Failed to allocate ZrDbConnect instance."  no memory for the replacement
  //   whatever ZrDbConnect::connect throws        the replacement could not connect
  // After the last two the broken connection is idle again, at the back of the queue.
  ZrDbConnect* getConnect();

  // Gives a lent connection back, in whatever state, also while the pool is not ready. What is handed in is not
  // checked: it must be a connection of this pool that is not idle. Throws "Return NULL pointer" for null, and
  // std::bad_alloc when the queue cannot grow: the connection is the caller's still.
  void returnConnect(ZrDbConnect* pDBC);

  // Deletes every connection, lent ones too; the pool is not ready then.
  void purgePool();

  // Disconnects and reconnects every idle connection, one after the other, for when the database has been away. Lent
  // connections are left alone. The pool is not ready meanwhile and ready afterwards, whatever the result; only
  // std::bad_alloc, thrown when there is no memory for the list, leaves it not ready.
  //
  // Returns true when all reconnected, which includes that none was idle. Otherwise logs
  // "ZrDataAccess::reinit: Failed to re-initialize the connection pool (dsn: DSN user: USER)." once; the connections
  // that failed are idle like the others, but not connected (state 1).
  bool reinit();

  // Settings of the connections that the pool makes from now on, as ZrDbConnect's setters of these names take them.
  void setDbConnectTimeOut(int seconds);  // 30 in a new pool
  void setDbRetrialTimeOut(int seconds);  // 10
  void setDbReconnectTrial(int count);    // 5

  int m_poolReady = 0;          // 1 when the pool may lend, else 0; read and written without the lock, atomically
  VEXA::VexaMutex m_mutex;      // guards m_deqIdleConnect, and the exchange of an element of m_vecConnect
  int m_dbConnectTimeOut = 30;  // seconds
  int m_dbRetrialTimeOut = 10;  // seconds
  int m_dbReconnectTrial = 5;   // attempts
  std::vector<ZrDbConnect*> m_vecConnect;     // all connections, in the order of their making; owned
  std::deque<ZrDbConnect*> m_deqIdleConnect;  // those that are not lent: lent from the front, returned to the back
  std::string m_strConnectString;
  std::string m_dsn;
  std::string m_user;
  std::string m_pass;
};

#endif  // ZR_DB_ZRDATAACCESS_H
