#include "host/database/PolicyDatabase.h"

#include <filesystem>
#include <limits>

#include "host/base/strict_number.h"
#include "host/database/locks_internal.h"
#include "host/database/session_internal.h"
#include "host/database/table_reading_internal.h"

namespace zrhost {
namespace {

// The tables that a schema version has; of an unknown one (0) the one that tells the version.
std::string tablesOf(int schemaVersion) {
  std::string tables = "policy_revision";
  if (schemaVersion >= 1) tables += ", policy, policy_rule, ep_link";
  if (schemaVersion >= 2) tables += ", group_member";
  return tables;
}

Revision beginReading(std::optional<Transaction>& transaction, Session& session, int schemaVersion) {
  beginLocked(transaction, session, kReading, [&] { lockTables(session, tablesOf(schemaVersion), "ACCESS SHARE"); });
  return readRevision(session);
}

// The first statement that reads fixes what a transaction sees, but TRUNCATE and a table that was made anew show
// through: so all tables are locked first, and which there are must be known before that.
Revision beginReadingAll(std::optional<Transaction>& transaction, Session& session) {
  Revision revision = beginReading(transaction, session, 0);
  if (session.isSqlite()) return revision;
  for (int locked = 0; revision.schemaVersion != locked;) {
    locked = revision.schemaVersion;
    transaction.reset();
    revision = beginReading(transaction, session, locked);
  }
  return revision;
}

}  // namespace

struct PolicyDatabase::Parts : Source {
  using Source::Source;

  template <typename ReadTables>
  Revision readAll(ReadTables readTheTables) {
    Session session(*this);
    std::optional<Transaction> transaction;
    Revision revision = beginReadingAll(transaction, session);
    readTheTables(session, revision);
    return revision;
  }
};

PolicyDatabase::PolicyDatabase(const DatabaseOptions& options) : m_parts(std::make_unique<Parts>(options)) {}

PolicyDatabase::~PolicyDatabase() = default;

Revision PolicyDatabase::read(RowSink& sink) {
  return m_parts->readAll(
      [&](Session& session, const Revision& revision) { readTables(session, revision, sink, kByPriority); });
}

Revision PolicyDatabase::readByKey(RowSink& sink) {
  return m_parts->readAll(
      [&](Session& session, const Revision& revision) { readTablesByKey(session, revision, sink); });
}

Revision PolicyDatabase::revision() {
  Session session(*m_parts);
  std::optional<Transaction> transaction;
  return beginReading(transaction, session, 0);
}

bool PolicyDatabase::isFile() const {
  return m_parts->isSqlite();
}

bool PolicyDatabase::isFileReplaced() const {
  return m_parts->isFileReplaced();
}

std::optional<std::chrono::milliseconds> PolicyDatabase::standbyLag() {
  constexpr const char* kStatement = "read_standby_lag.sql";  // which not every kind of database has
  std::error_code ignored;
  if (!std::filesystem::exists(m_parts->statements() + kStatement, ignored)) return std::nullopt;
  Session session(*m_parts);
  // Or the driver would leave one open until the connection is used again.
  const Transaction transaction(session, "begin_read.sql", "end_read.sql");
  session.run(kStatement);
  if (!session.next()) return std::nullopt;
  Field lag;
  session.take("standby_lag", lag);
  const auto milliseconds = strictNumber(lag.value_or(""), 0, std::numeric_limits<std::int64_t>::max());
  return milliseconds ? std::optional(std::chrono::milliseconds(*milliseconds)) : std::nullopt;
}

}  // namespace zrhost
