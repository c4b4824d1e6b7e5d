#include "host/database/PolicyWriter.h"

#include <optional>
#include <vector>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/database/locks_internal.h"
#include "host/database/staged_faults_internal.h"
#include "host/database/table_change_internal.h"
#include "host/database/table_reading_internal.h"

namespace zrhost {
namespace {

constexpr const char* kRevisionTable = "policy_revision";
constexpr const char* kContentTables = "policy, policy_rule, ep_link, group_member";
constexpr const char* kNoOtherWriters = "SHARE ROW EXCLUSIVE";

DatabaseOptions withOneConnection(DatabaseOptions options) {
  options.poolSize = 1;
  return options;
}

// Before the writing begins: locking a table that is not there would tell less.
void refuseOldVersion(Session& session) {
  std::optional<Transaction> transaction;
  beginLocked(transaction, session, kReading, [&] { lockTables(session, kRevisionTable, "ACCESS SHARE"); });
  const int version = readRevision(session).schemaVersion;
  if (version == kSchemaVersion) return;
  throw HostError(ErrorKind::kNotPolicyDatabase,
                  oneLine("cannot write to " + placeOf(session.options()) + ": its tables are of version " +
                          std::to_string(version) +
                          ", which is only read; bring them up to date with 'zrpolicy init "
                          "--upgrade'"));
}

// Others read on, and nobody else writes, makes the tables anew or upgrades them.
void beginWriting(std::optional<Transaction>& transaction, Session& session) {
  refuseOldVersion(session);
  if (session.isSqlite()) runWriteFolder(session, "write/settings");
  const auto lock = [&] {
    lockTables(session, kRevisionTable, "ACCESS SHARE");
    lockTables(session, kContentTables, kNoOtherWriters);
  };
  beginLocked(transaction, session, kWriting, lock, [&] {
    endVacuums(session, {"policy", "policy_rule", "ep_link", "group_member"}, kNoOtherWriters);
  });
}

// A row's fields, in the order of its columns. fieldsOf answers what could be changed, which nobody does here.
template <typename Row>
auto fieldsIn(const Row& row) {
  const auto fields = fieldsOf(const_cast<Row&>(row));
  std::array<const Field*, std::tuple_size_v<decltype(fields)>> result;
  for (std::size_t i = 0; i < fields.size(); ++i)
    result[i] = fields[i];
  return result;
}

std::uint64_t count(Session& session, const char* column) {
  return static_cast<std::uint64_t>(strictNumber(session.text(column), 0, INT64_MAX).value_or(0));
}

}  // namespace

struct PolicyWriter::Parts {
  explicit Parts(const DatabaseOptions& options)
      : source(withOneConnection(options), {}, Access::kWrite), session(source) {
    session.setTask("write the rows");
    beginWriting(transaction, session);
    revision = readRevision(session);
    staging.emplace(session);
  }

  // What a failure leaves behind is no state to go on from: a server would take the commit of a transaction that it has
  // broken off without a word.
  template <typename Action>
  auto guarded(Action action) {
    if (isOver) {
      throw HostError(ErrorKind::kInternal,
                      oneLine("cannot write to " + placeOf(source.options) + ": the transaction is over"));
    }
    isOver = true;
    session.renewLockWait();
    if constexpr (std::is_void_v<decltype(action())>) {
      action();
      isOver = false;
    } else {
      auto result = action();
      isOver = false;
      return result;
    }
  }

  template <typename Row>
  void stage(PolicyTable table, std::uint64_t number, const Row& row) {
    const auto fields = fieldsIn(row);
    staging->check(table, number, fields);
    guarded([&] { staging->add(table, number, fields); });
  }

  Changes mergeOrReplace(bool replace);
  Changes remove();
  void removeByName(TableChanges& links);

  Source source;
  Session session;
  std::optional<Transaction> transaction;
  Revision revision;
  std::optional<Staging> staging;
  bool isOver = false;
};

// What others refer to comes first and goes last.
Changes PolicyWriter::Parts::mergeOrReplace(bool replace) {
  if (staging->hasLinksByName()) runWriteFolder(session, "write/number_links");
  Changes changes;
  std::vector<TableChange> tables;
  for (std::size_t i = 0; i < kPolicyTables; ++i) {
    TableChange& table = tables.emplace_back(session, static_cast<PolicyTable>(i));
    const TableComparison& found = table.compare();
    changes[i] = {found.added, found.different, 0, found.staged - found.added - found.different};
    if (replace) changes[i].removed = found.inTable - (found.staged - found.added);
  }
  for (std::size_t i = 0; i < kPolicyTables; ++i) {
    if (changes[i].added != 0) tables[i].add();
    if (changes[i].changed != 0) tables[i].change();
  }
  for (std::size_t i = kPolicyTables; i-- > 0;)
    if (changes[i].removed != 0) tables[i].removeOthers();
  return changes;
}

Changes PolicyWriter::Parts::remove() {
  Changes changes;
  for (std::size_t i = kPolicyTables; i-- > 0;) {
    TableChange table(session, static_cast<PolicyTable>(i));
    const TableComparison& found = table.compare();
    changes[i].removed = found.staged - found.added;
    changes[i].unchanged = found.added;
    if (changes[i].removed != 0) table.removeSame();
    if (static_cast<PolicyTable>(i) == PolicyTable::kLink && staging->hasLinksByName()) removeByName(changes[i]);
  }
  return changes;
}

// Every link of the type, name and policy of a row.
void PolicyWriter::Parts::removeByName(TableChanges& links) {
  session.run(session.statements() + "write/count_links_by_name.sql");
  session.next();
  const std::uint64_t found = count(session, "link_count");
  links.removed += found;
  links.unchanged += count(session, "missing_rows");
  if (found != 0) session.run(session.statements() + "write/remove_links_by_name.sql");
}

PolicyWriter::PolicyWriter(const DatabaseOptions& options) : m_parts(std::make_unique<Parts>(options)) {}

PolicyWriter::~PolicyWriter() = default;

ContentCounts PolicyWriter::counts() {
  return m_parts->guarded([this] {
    Session& session = m_parts->session;
    session.run(session.statements() + "write/count_content.sql");
    session.next();
    return ContentCounts{count(session, "links"), count(session, "default_policies")};
  });
}

Revision PolicyWriter::readByKey(RowSink& sink) {
  return m_parts->guarded([&] {
    readTables(m_parts->session, m_parts->revision, sink, kByKey);
    return m_parts->revision;
  });
}

void PolicyWriter::stage(std::uint64_t number, const PolicyRow& row) {
  m_parts->stage(PolicyTable::kPolicy, number, row);
}

void PolicyWriter::stage(std::uint64_t number, const RuleRow& row) {
  m_parts->stage(PolicyTable::kRule, number, row);
}

void PolicyWriter::stage(std::uint64_t number, const LinkRow& row) {
  m_parts->stage(PolicyTable::kLink, number, row);
}

void PolicyWriter::stage(std::uint64_t number, const MemberRow& row) {
  m_parts->stage(PolicyTable::kMember, number, row);
}

void PolicyWriter::rejectFaults(WriteMode mode, const std::function<void(const StagedFault&)>& onFault) {
  m_parts->guarded([&] {
    m_parts->staging->complete();
    rejectStagedFaults(m_parts->session, mode, onFault);
  });
}

Changes PolicyWriter::apply(WriteMode mode) {
  return m_parts->guarded([&] {
    m_parts->staging->complete();
    const Changes changes =
        mode == WriteMode::kRemove ? m_parts->remove() : m_parts->mergeOrReplace(mode == WriteMode::kReplace);
    m_parts->staging->forget();
    return changes;
  });
}

void PolicyWriter::commit() {
  m_parts->guarded([this] {
    m_parts->staging.reset();
    m_parts->transaction->end("commit_write.sql");
  });
  m_parts->isOver = true;
}

}  // namespace zrhost
