#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>

#include "host/database/session_internal.h"

namespace zrhost {

// A kind of transaction, by the statement files that begin and undo it.
struct TransactionKind {
  const char* begin;
  const char* undo;
};
inline constexpr TransactionKind kReading = {"begin_read.sql", "end_read.sql"};
inline constexpr TransactionKind kWriting = {"begin_write.sql", "undo_write.sql"};

// Begins a transaction and has `takeLocks` take its locks with lockTables and lockSchema, before anything else. When
// one of them is not to be had at once, all are let go and the transaction is begun again, for 5 seconds in all; then
// the failure is the caller's.
//
// No single wait is as long as the second after which a server looks for deadlocks: whoever uses the tables in another
// order gets on, and is never ended for our sake. `betweenAttempts` is called when no transaction is under way.
void beginLocked(std::optional<Transaction>& transaction, Session& session, const TransactionKind& kind,
                 const std::function<void()>& takeLocks, const std::function<void()>& betweenAttempts = {});

// Makes a server's own vacuuming of tables give way, which goes on for minutes where it is told to be gentle: it ends
// itself for whoever waits for longer than the second after which a server looks for deadlocks. Nothing else is locked
// while that is waited for, so nobody can be in a deadlock with us. Not to be called within a transaction.
void endVacuums(Session& session, std::initializer_list<const char*> tables, const char* mode);

// Locks tables ("policy, ep_link") in one of PostgreSQL's modes until the end of the transaction. On SQLite nothing is
// to be done: there the transaction itself keeps others out.
void lockTables(Session& session, const std::string& tables, const char* mode);

// Keeps other programs that make or upgrade tables in the same schema out until the end of the transaction.
void lockSchema(Session& session);

}  // namespace zrhost
