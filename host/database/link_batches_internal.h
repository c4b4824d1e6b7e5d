#pragma once

#include "host/database/session_internal.h"
#include "host/rows/RowSink.h"

namespace zrhost {

// Pushes every link in ascending link_id, exactly as the statement that reads them a row at a time gives them, but many
// in one text: what a driver takes for each row and column is most of the time that a large table takes otherwise.
// Batches follow one another by statements of their own, so the session has to be in a transaction that sees one state.
//
// Answers false, with nothing pushed, where the table is not one that can be read by ranges of its key (its link_id is
// no integer key, it is a view), or where the folder of the statements has none for it.
bool readLinkBatches(Session& session, RowSink& sink);

}  // namespace zrhost
