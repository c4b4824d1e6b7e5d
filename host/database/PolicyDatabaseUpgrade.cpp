#include "host/base/terminal_text.h"
#include "host/database/PolicyDatabase.h"
#include "host/database/locks_internal.h"
#include "host/database/tables_internal.h"

namespace zrhost {
namespace {

void refuseForeignTables(Session& session) {
  const std::vector<TableThere> tables = tablesThere(session);
  for (const char* name : {"group_member", "policy_change"}) {
    if (!isAmong(tables, name)) continue;
    throw HostError(ErrorKind::kTablesPresent,
                    oneLine("cannot upgrade " + placeOf(session.options()) + ": '" + name +
                            "' is there already, though version 1 has none; rename or remove it"));
  }
}

void upgradeFrom1(Session& session) {
  refuseForeignTables(session);
  const std::string schema = schemaForTables(session);
  const std::vector<Right> rights = rightsOf(session);
  runFolder(session, "upgrade", schema);
  runFolder(session, "version_2", schema);
  for (const Right& right : rights)
    if (right.table == "group_member" || right.table == "policy_change") giveRights(session, {right});
}

}  // namespace

UpgradeReport PolicyDatabase::upgrade(const DatabaseOptions& options) {
  DatabaseOptions single = options;
  single.poolSize = 1;
  Source source(single, {}, Access::kChange);
  Session session(source);
  session.setTask("upgrade the tables");
  std::optional<Transaction> transaction;
  beginLocked(transaction, session, kReading, [&] { lockTables(session, "policy_revision", "ACCESS SHARE"); });
  const int found = readRevision(session).schemaVersion;
  transaction.reset();
  if (found == kSchemaVersion) return {found, found};  // without keeping anybody out
  beginLocked(transaction, session, kWriting, [&] {
    lockSchema(session);
    lockTables(session, "policy_revision, policy, policy_rule, ep_link", "ACCESS EXCLUSIVE");
  });
  const int from = readRevision(session).schemaVersion;
  if (from == kSchemaVersion) return {from, from};
  upgradeFrom1(session);
  const int to = readRevision(session).schemaVersion;
  transaction->end("commit_write.sql");
  return {from, to};
}

}  // namespace zrhost
