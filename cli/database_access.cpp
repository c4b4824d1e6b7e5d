#include "cli/database_access.h"

#include <string>

#include "cli/silent_server.h"
#include "cli/standard_streams.h"
#include "host/log/LogSink.h"

namespace zrcli {

namespace {

// Rows that cannot be used do not stop a lookup, but its answer may lack what they say.
void warnOfRefusedRows(const zrhost::LoadReport& report, const std::string& first) {
  if (report.refused == 0) return;
  printError("warning: " + std::to_string(report.refused) + " unusable row(s) of the database were left out, first " +
             first + "; see all with zrpolicy load");
}

// Without its members a user's answer may lack what the groups would add.
void warnOfMissingMembers(const zrhost::Revision& revision) {
  constexpr int kFirstWithMembers = 2;
  if (revision.schemaVersion >= kFirstWithMembers) return;
  printError("warning: a policy database of version " + std::to_string(revision.schemaVersion) +
             " knows no members of groups; see zrpolicy init --upgrade");
}

}  // namespace

zrhost::DatabaseOptions databaseOptions(const CommandContext& context) {
  const zrhost::Settings settings(context.settings);
  printWarnings(settings.warnings());
  zrhost::setLogLevel(settings.options().log.level);
  zrhost::DatabaseOptions options = settings.database();
  options.onSilence = endForSilence;
  return options;
}

std::shared_ptr<const zrhost::Snapshot> loadPolicies(const CommandContext& context, zrhost::LoadOptions options) {
  options.strict = context.strict;
  zrhost::PolicyDatabase database(databaseOptions(context));
  return zrhost::Snapshot::load(database, options);
}

std::shared_ptr<const zrhost::Snapshot> loadToAsk(const CommandContext& context, bool withGroups,
                                                  zrhost::LoadOptions options) {
  std::string first;
  options.onRefused = [&first](const zrhost::RefusedRow& row) {
    if (first.empty()) first = row.text();
  };
  auto snapshot = loadPolicies(context, options);
  warnOfRefusedRows(snapshot->report(), first);
  if (withGroups) warnOfMissingMembers(snapshot->report().revision);
  return snapshot;
}

}  // namespace zrcli
