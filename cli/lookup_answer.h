#pragma once

#include <CLI/CLI.hpp>

#include "host/ask/Question.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// How answers are shown.
struct LookupOptions {
  bool top = false;   // only the first result
  bool json = false;  // one document instead of a table
  bool wide = false;  // the table is not fitted to the terminal
};

// Adds --top, --json and --wide. `options` must outlive `command`.
void addAnswerOptions(CLI::App& command, LookupOptions& options);

// Answers one question on standard output. Answers the exit status: 0, or 1 when no policy applies. Throws HostError
// kInputOutput.
int answerOne(const zrhost::Snapshot& snapshot, const zrhost::Question& question, const LookupOptions& options);

// Answers the questions of standard input with one JSON document each, as answerLines does.
int answerBatch(const zrhost::Snapshot& snapshot, bool withGroups, const LookupOptions& options);

}  // namespace zrcli
