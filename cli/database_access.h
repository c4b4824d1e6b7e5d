#pragma once

#include <memory>

#include "cli/command_context.h"
#include "host/database/PolicyDatabase.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// The data source that options, environment and configuration file name, and the log level that they set, which takes
// effect here. Unknown names in the file are warned of on standard error. Throws HostError.
zrhost::DatabaseOptions databaseOptions(const CommandContext& context);

// Loads the policy database of the command line; throws HostError.
std::shared_ptr<const zrhost::Snapshot> loadPolicies(const CommandContext& context, zrhost::LoadOptions options);

// The same for questions: warns on standard error of rows that were left out, and with `withGroups` of a database that
// knows no members, since an answer may lack what they say.
std::shared_ptr<const zrhost::Snapshot> loadToAsk(const CommandContext& context, bool withGroups,
                                                  zrhost::LoadOptions options = {});

}  // namespace zrcli
