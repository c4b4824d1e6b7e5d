#include "cli/database_access.h"

#include <string>

#include "cli/silent_server.h"
#include "cli/standard_streams.h"
#include "host/log/LogSink.h"
#include "host/settings/SettingDefinition.h"

namespace zrcli {

namespace {

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

void applySettings(const CommandContext& context) {
  const zrhost::Settings settings(context.settings);
  printWarnings(settings.warnings());
  zrhost::setLogLevel(settings.options().log.level);
}

zrhost::DatabaseOptions databaseOptions(const CommandContext& context, const DatabaseName& name) {
  zrhost::SettingsRequest request = context.settings;
  const bool isFile = name.dsn.empty();
  request.given[zrhost::findSetting("database", isFile ? "file" : "dsn")] = isFile ? name.file : name.dsn;
  zrhost::DatabaseOptions options = zrhost::Settings(request).database();
  options.onSilence = endForSilence;
  return options;
}

std::function<void(const zrhost::RefusedRow&)> RefusalWarning::note() {
  return [this](const zrhost::RefusedRow& row) {
    if (m_first.empty()) m_first = row.text();
  };
}

void RefusalWarning::show(const zrhost::LoadReport& report) const {
  if (report.refused == 0) return;
  printError("warning: " + m_prefix + std::to_string(report.refused) +
             " unusable row(s) of the database were left out, first " + m_first + "; see all with zrpolicy load");
}

std::shared_ptr<const zrhost::Snapshot> loadPolicies(const CommandContext& context, zrhost::LoadOptions options) {
  options.strict = context.strict;
  zrhost::PolicyDatabase database(databaseOptions(context));
  return zrhost::Snapshot::load(database, options);
}

std::shared_ptr<const zrhost::Snapshot> loadToAsk(const CommandContext& context, bool withGroups,
                                                  zrhost::LoadOptions options) {
  RefusalWarning warning;
  options.onRefused = warning.note();
  auto snapshot = loadPolicies(context, options);
  warning.show(snapshot->report());
  if (withGroups) warnOfMissingMembers(snapshot->report().revision);
  return snapshot;
}

}  // namespace zrcli
