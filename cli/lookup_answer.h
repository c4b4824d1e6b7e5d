#pragma once

#include "host/ask/Question.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// How questions are asked, and their answers shown.
struct LookupOptions {
  bool withGroups = false;  // the groups of the users of a question are asked, too
  bool top = false;         // only the first result
  bool json = false;        // one document instead of a table
  bool wide = false;        // the table is not fitted to the terminal
};

// Answers one question on standard output. Answers the exit status: 0, or 1 when no policy applies. Throws HostError
// kInputOutput.
int answerOne(const zrhost::Snapshot& snapshot, const zrhost::Question& question, const LookupOptions& options);

// Answers the questions of standard input, one for each line, each with one JSON document on a line of standard output.
// What has been answered is written before the next read that may have to wait, so a program at the other end gets each
// answer without closing its end. Answers the exit status: 0, or 65 when a line was no question.
// Throws HostError kInputOutput.
int answerBatch(const zrhost::Snapshot& snapshot, const LookupOptions& options);

}  // namespace zrcli
