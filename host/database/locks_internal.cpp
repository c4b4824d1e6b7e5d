#include "host/database/locks_internal.h"

#include <chrono>

namespace zrhost {
namespace {

constexpr std::chrono::milliseconds kPatience{5000};
constexpr std::chrono::milliseconds kOneAttempt{700};  // as wait_for_locks.sql says
constexpr const char* kLockNotAvailable = "55P03";

}  // namespace

void beginLocked(std::optional<Transaction>& transaction, Session& session, const TransactionKind& kind,
                 const std::function<void()>& takeLocks, const std::function<void()>& betweenAttempts) {
  const auto lastStart = std::chrono::steady_clock::now() + kPatience - kOneAttempt;
  for (;;) {
    transaction.emplace(session, kind.begin, kind.undo);
    try {
      if (!session.isSqlite()) session.run("wait_for_locks.sql");
      return takeLocks();
    } catch (const HostError&) {
      const bool again = session.sqlState() == kLockNotAvailable && std::chrono::steady_clock::now() < lastStart;
      transaction.reset();
      if (!again) throw;
    }
    if (betweenAttempts) betweenAttempts();
  }
}

void endVacuums(Session& session, std::initializer_list<const char*> tables, const char* mode) {
  if (session.isSqlite()) return;
  for (const char* table : tables) {
    const Transaction alone(session, kWriting.begin, kWriting.undo);
    try {
      session.run("wait_for_vacuum.sql");
      lockTables(session, table, mode);
    } catch (const HostError&) {
      if (session.sqlState() != kLockNotAvailable) throw;
      return;  // it is no vacuum
    }
  }
}

void lockTables(Session& session, const std::string& tables, const char* mode) {
  if (!session.isSqlite() && !tables.empty()) session.run("lock_tables.sql", tables.c_str(), mode);
}

void lockSchema(Session& session) {
  if (!session.isSqlite()) session.run("lock_schema.sql");
}

}  // namespace zrhost
