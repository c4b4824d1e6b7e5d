#pragma once

namespace zrcli {

// The command's own log sink takes what the library logs: lines up to this level (0: none, 1: errors, ... 4: every
// step) go to standard error, and the errors are kept for the line that a failure prints (host/source/LibraryErrors.h),
// whatever the level. What follows "m_pass=" in a line is never shown.
void setLogLevel(int level);

}  // namespace zrcli
