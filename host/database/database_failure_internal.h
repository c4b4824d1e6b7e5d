#pragma once

#include <string>

#include "host/base/HostError.h"
#include "host/database/data_source_internal.h"
#include "host/database/odbc_diagnostic_internal.h"

namespace zrhost {

// What a failure is told of.
struct FailurePlace {
  std::string name;  // of the database, as messages have it
  bool sqlite;
  Access access;
};

// The failure of a statement that `doing` says the use of ("cannot read links") and `file` the origin, or that of an
// attempt to connect: why, by the SQLSTATE and the driver's own number first and by words only where these say nothing,
// and what to do. The server's text stands behind it once, the statement's not at all. `thrown` is what the library
// threw, for failures that no driver has said anything about.
HostError statementFailure(const FailurePlace& place, const std::string& doing, const std::string& file,
                           const Diagnostic& diagnostic, const char* thrown);
HostError connectFailure(const FailurePlace& place, const Diagnostic& diagnostic, const char* thrown);

// A failure of the same form whose meaning is known otherwise.
HostError failure(const FailurePlace& place, ErrorKind kind, const std::string& doing, const std::string& meaning,
                  const Diagnostic& diagnostic, const char* thrown);

// SQLSTATEs that are answered by more than a text.
inline constexpr const char* kNoSuchTable = "42P01";

}  // namespace zrhost
