#include "db/ZrDataAccess.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <new>

#include "support/CommonLogging.h"
#include "support/PolicyLog.h"

namespace {

using Connection = std::unique_ptr<ZrDbConnect>;

void setReady(ZrDataAccess& pool, int ready) {
  std::atomic_ref<int>(pool.m_poolReady).store(ready);
}

// Only for the debug text, which shows 32 bits of it.
unsigned addressOf(const ZrDbConnect* connect) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(connect));
}

void connectAsConfigured(const ZrDataAccess& pool, ZrDbConnect& connect) {
  connect.connect(pool.m_strConnectString.c_str(), pool.m_dsn.c_str(), pool.m_user.c_str(), pool.m_pass.c_str());
}

Connection makeConnection(const ZrDataAccess& pool) {
  auto connect = std::make_unique<ZrDbConnect>();
  connect->setDbConnectTimeOut(pool.m_dbConnectTimeOut);
  connect->setDbRetrialTimeOut(pool.m_dbRetrialTimeOut);
  connect->setDbReconnectTrial(pool.m_dbReconnectTrial);
  connectAsConfigured(pool, *connect);
  return connect;
}

void addConnection(ZrDataAccess& pool, int id) {
  Connection connect = makeConnection(pool);
  connect->setConnID(id);
  pool.m_deqIdleConnect.push_back(connect.get());
  pool.m_vecConnect.push_back(connect.get());
  static_cast<void>(connect.release());  // the pool's now
}

ZrDbConnect* takeIdle(ZrDataAccess& pool) {
  const VEXA::VexaLock lock(pool.m_mutex);
  if (pool.m_deqIdleConnect.empty()) return nullptr;
  ZrDbConnect* connect = pool.m_deqIdleConnect.front();
  pool.m_deqIdleConnect.pop_front();
  return connect;
}

// A connection must not get lost for want of memory: in front there is room for what was taken from there.
void putAtTheBack(std::deque<ZrDbConnect*>& idle, ZrDbConnect* connect) {
  try {
    idle.push_back(connect);
  } catch (const std::bad_alloc&) {
    idle.push_front(connect);
  }
}

void putIdle(ZrDataAccess& pool, ZrDbConnect* connect) {
  const VEXA::VexaLock lock(pool.m_mutex);
  putAtTheBack(pool.m_deqIdleConnect, connect);
}

bool exchange(ZrDataAccess& pool, const ZrDbConnect* old, ZrDbConnect* replacement) {
  const VEXA::VexaLock lock(pool.m_mutex);
  const auto slot = std::find(pool.m_vecConnect.begin(), pool.m_vecConnect.end(), old);
  if (slot == pool.m_vecConnect.end()) return false;
  *slot = replacement;
  return true;
}

// A connected stand-in for a broken connection, which is deleted; when that fails it is idle again.
ZrDbConnect* replaceBroken(ZrDataAccess& pool, ZrDbConnect* broken) {
  Connection replacement;
  try {
    replacement = makeConnection(pool);
  } catch (const char*) {
    putIdle(pool, broken);
    throw;
  } catch (const std::bad_alloc&) {
    putIdle(pool, broken);
    throw "Failed to allocate ZrDbConnect instance.";
  }
  replacement->setConnID(broken->getConnID());
  if (!exchange(pool, broken, replacement.get())) LogPrintf("Connection object not found in the list ??");
  delete broken;
  return replacement.release();
}

bool reconnect(const ZrDataAccess& pool, ZrDbConnect& connect) {
  try {
    connect.disconnect();
    connectAsConfigured(pool, connect);
    return true;
  } catch (const char*) {
    return false;  // why is not told: the caller logs one line for the whole pool
  }
}

}  // namespace

ZrDataAccess::ZrDataAccess() = default;

ZrDataAccess::~ZrDataAccess() {
  try {
    purgePool();
  } catch (...) {
    LogPrintf("ZrDataAccess::~ZrDataAccess(), failed to cleanup connection pool");
  }
}

void ZrDataAccess::init(const char* connectString, int poolSize, const char* dsn, const char* user, const char* pass) {
  ZR_TRACE("ZrDataAccess::init() ...\n");
  if (connectString == nullptr || poolSize == 0) throw "NULL or 0 parameters";
  ZR_TRACE("ZrDataAccess::init() m_strConnectString=%s m_dsn=%s m_user=%s m_pass=%s\n", connectString, dsn, user, pass);
  try {  // all of them or none: a later reconnection uses what stands here
    std::string copies[] = {connectString, dsn, user, pass};
    std::string* const members[] = {&m_strConnectString, &m_dsn, &m_user, &m_pass};
    for (std::size_t i = 0; i < std::size(copies); ++i)
      members[i]->swap(copies[i]);
  } catch (const std::bad_alloc&) {
    throw "Failed to allocate ZrDbConnect instance.";
  }
  purgePool();
  preparePool(poolSize);
}

void ZrDataAccess::preparePool(int poolSize) {
  ZR_TRACE("ZrDataAccess::preparePool() ...\n");
  try {
    for (int id = 1; id <= poolSize; ++id)
      addConnection(*this, id);
  } catch (const char*) {
    purgePool();
    throw;
  } catch (const std::bad_alloc&) {
    LogPrintf("Failed to allocate ZrDbConnect instance.");
    purgePool();
    throw "Failed to allocate ZrDbConnect instance.";
  }
  setReady(*this, 1);
}

ZrDbConnect* ZrDataAccess::getConnect() {
  if (std::atomic_ref<int>(m_poolReady).load() <= 0) {
    LogPrintf("Connection pool is not ready.");
    throw "Connection pool is not ready.";
  }
  ZrDbConnect* connect = takeIdle(*this);
  if (connect == nullptr) {
    LogPrintf("Out of Db connection in pool.");
    throw "Out of Db connection in pool.";
  }
  if (connect->getState() == 6) connect = replaceBroken(*this, connect);
  DbgPrintf("Db connection 0x%X borrowed.", addressOf(connect));
  return connect;
}

void ZrDataAccess::returnConnect(ZrDbConnect* pDBC) {
  if (pDBC == nullptr) {
    DbgPrintf("NULL ZrDbConnect* pDBC pointer.");
    throw "Return NULL pointer";
  }
  const VEXA::VexaLock lock(m_mutex);
  putAtTheBack(m_deqIdleConnect, pDBC);
  DbgPrintf("Db connection 0x%X returned.", addressOf(pDBC));
}

void ZrDataAccess::purgePool() {
  ZR_TRACE("ZrDataAccess::purgePool() ...\n");
  setReady(*this, 0);
  m_deqIdleConnect.clear();
  while (!m_vecConnect.empty()) {
    delete m_vecConnect.front();
    m_vecConnect.erase(m_vecConnect.begin());
  }
}

bool ZrDataAccess::reinit() {
  setReady(*this, 0);
  std::deque<ZrDbConnect*> idle;
  {
    const VEXA::VexaLock lock(m_mutex);
    idle.swap(m_deqIdleConnect);
  }
  bool all = true;
  for (; !idle.empty(); idle.pop_front()) {
    all = reconnect(*this, *idle.front()) && all;
    putIdle(*this, idle.front());
  }
  if (!all) {
    LogPrintf("ZrDataAccess::reinit: Failed to re-initialize the connection pool (dsn: %s user: %s).", m_dsn.c_str(),
              m_user.c_str());
  }
  setReady(*this, 1);
  return all;
}

void ZrDataAccess::setDbConnectTimeOut(int seconds) {
  m_dbConnectTimeOut = seconds;
}

void ZrDataAccess::setDbRetrialTimeOut(int seconds) {
  m_dbRetrialTimeOut = seconds;
}

void ZrDataAccess::setDbReconnectTrial(int count) {
  m_dbReconnectTrial = count;
}
