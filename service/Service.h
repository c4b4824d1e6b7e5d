#pragma once

#include <string>

#include "live/LivePolicies.h"

namespace zrservice {

// Runs the service until SIGTERM or SIGINT ends it, and answers the exit status. `configFile` is that of --config;
// empty: as the command finds it. SIGHUP reads the settings again and opens the decision log anew; a bad file changes
// nothing. A second SIGTERM or SIGINT ends it at once, by that signal.
//
// Throws HostError and LiveError for what keeps it from starting.
int runService(const std::string& configFile);

// Examines the settings and the database, as the user that root's service becomes, says on standard output what there
// is, and answers 0. Writes nothing. Throws as runService.
int checkService(const std::string& configFile);

}  // namespace zrservice
