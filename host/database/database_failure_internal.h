#pragma once

#include <string>

#include "db/ZrDataAccess.h"
#include "host/base/HostError.h"
#include "host/database/PolicyDatabase.h"

namespace zrhost {

// Throws unless the file is there, is a file, can be read and begins as an SQLite database (or is empty).
void checkFile(const std::string& path);

// The failure of a statement on `connection`, from what the library threw and logged and from the driver's diagnostics.
HostError statementFailure(ZrDbConnect& connection, const DatabaseOptions& options, const std::string& doing,
                           const char* thrown);

// Why `dsn` cannot be connected to: the driver manager is asked again on handles of its own, because the library keeps
// no diagnostics of a failed attempt.
HostError connectFailure(const DatabaseOptions& options, const std::string& dsn, const char* thrown);

}  // namespace zrhost
