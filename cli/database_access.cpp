#include "cli/database_access.h"

#include "cli/silent_server.h"
#include "cli/standard_streams.h"
#include "host/log/LogSink.h"

namespace zrcli {

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

}  // namespace zrcli
