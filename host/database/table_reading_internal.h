#pragma once

#include "host/database/session_internal.h"
#include "host/rows/RowSink.h"

namespace zrhost {

// The statements of the two orders that links are read in.
inline constexpr const char* kByPriority = "read_links.sql";
inline constexpr const char* kByKey = "read_links_by_key.sql";

// Takes the current row of a statement that answers links.
void takeLink(Session& session, LinkRow& row);

// Pushes the revision, which is the session's state, and then every row of the tables that its schema version has.
void readTables(Session& session, const Revision& revision, RowSink& sink, const char* linkStatement);

// The same with the links by their keys, many in a text where the table allows it: for a session that sees one state of
// the database whatever others write.
void readTablesByKey(Session& session, const Revision& revision, RowSink& sink);

}  // namespace zrhost
