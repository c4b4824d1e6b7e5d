#include "host/database/locks_internal.h"

#include <chrono>

namespace zrhost {
namespace {

constexpr std::chrono::seconds kPatience{5};
constexpr const char* kLockNotAvailable = "55P03";

}  // namespace

void beginLocked(std::optional<Transaction>& transaction, Session& session, const TransactionKind& kind,
                 const std::function<void()>& takeLocks) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    transaction.emplace(session, kind.begin, kind.undo);
    try {
      if (!session.isSqlite()) session.run("wait_for_locks.sql");
      return takeLocks();
    } catch (const HostError&) {
      const bool again = session.sqlState() == kLockNotAvailable && std::chrono::steady_clock::now() < end;
      transaction.reset();
      if (!again) throw;
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
