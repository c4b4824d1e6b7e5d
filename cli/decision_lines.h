#pragma once

#include "cli/lookup_answer.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// Answers the questions of the decision log on standard input again: for each of its lines one JSON document, that of
// lookup with "time", "queue_id" and "action" of the line behind it, and "differs": whether other policies apply now,
// or their first action is another. The groups that were asked are asked again; with `withGroups` those that the users
// are in now, in their place.
//
// Answers the exit status: 0, or 65 when a line was none. Throws HostError kInputOutput.
int answerDecisions(const zrhost::Snapshot& snapshot, bool withGroups, const LookupOptions& options);

}  // namespace zrcli
