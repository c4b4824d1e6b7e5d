#pragma once

#include "host/database/session_internal.h"
#include "host/rows/RowSink.h"

namespace zrhost {

// The statements of the two orders that links are read in.
inline constexpr const char* kByPriority = "read_links.sql";
inline constexpr const char* kByKey = "read_links_by_key.sql";

// Pushes the revision, which is the session's state, and then every row of the tables that its schema version has.
void readTables(Session& session, const Revision& revision, RowSink& sink, const char* linkStatement);

}  // namespace zrhost
