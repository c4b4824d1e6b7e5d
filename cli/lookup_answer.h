#pragma once

#include "host/ask/Question.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// How answers are shown.
struct LookupOptions {
  bool top = false;   // only the first result
  bool json = false;  // one document instead of a table
  bool wide = false;  // the table is not fitted to the terminal
};

// Answers one question on standard output. Answers the exit status: 0, or 1 when no policy applies. Throws HostError
// kInputOutput.
int answerOne(const zrhost::Snapshot& snapshot, const zrhost::Question& question, const LookupOptions& options);

// Answers the questions of standard input with one JSON document each, as answerLines does.
int answerBatch(const zrhost::Snapshot& snapshot, bool withGroups, const LookupOptions& options);

}  // namespace zrcli
