#pragma once

namespace zrhost {

// The programs' log sink (VEXA::Log::LogByLevel) takes what library and programs log: lines up to this level (0: none,
// 1: errors, 2: warnings, 3: what is done, 4: every step) go to standard error as
//   0.012 I text
// the seconds since the program started, the first letter of ERROR, WARNING, INFO or TRACE, and the text as
// shownLogLine (host/log/log_line.h) makes it. Errors are kept for the line that a failure prints
// (host/log/LibraryErrors.h), whatever the level. Any thread may log.
void setLogLevel(int level);

// For a service, which is not to stand still with whoever reads its standard error: from now on a line that is not
// taken within a second is lost, and so are those behind it, at once, until lines are taken again.
void loseLinesNobodyReads();

// Whether a line may be written to standard error now, by that rule. Any thread.
bool takesLine();

}  // namespace zrhost
