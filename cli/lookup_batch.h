#pragma once

#include "cli/database_access.h"

namespace zrcli {

// Answers the questions of standard input, one for each line, each with one JSON document on a line of standard output.
// What has been answered is written before the next read that may have to wait, so a program at the other end gets each
// answer without closing its end. Answers the exit status: 0, or 65 when a line was no question.
// Throws HostError kInputOutput.
int answerBatch(const LoadedCache& loaded, bool topOnly);

}  // namespace zrcli
