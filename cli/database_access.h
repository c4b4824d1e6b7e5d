#pragma once

#include <memory>

#include "cli/command_context.h"
#include "host/database/PolicyDatabase.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// The data source that options, environment and configuration file name, and the log level that they set, which takes
// effect here. Unknown names in the file are warned of on standard error. Throws HostError.
zrhost::DatabaseOptions databaseOptions(const CommandContext& context);

// The password for a data source, from where the user put it: the file of --password-file, else the environment
// variable ZRPOLICY_PASSWORD, else the file that the configuration file names, else none.
// The first line of the file counts, without its end. A file that others than its owner may read or write is refused:
// HostError kUsage, as for one that is missing.
std::string readPasswordFile(const std::string& path);

// Loads the policy database of the command line; throws HostError.
std::shared_ptr<const zrhost::Snapshot> loadPolicies(const CommandContext& context, zrhost::LoadOptions options);

}  // namespace zrcli
