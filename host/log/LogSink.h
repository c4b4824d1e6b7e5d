#pragma once

namespace zrhost {

// The programs' log sink (VEXA::Log::LogByLevel) takes what the library logs: lines up to this level (0: none, 1:
// errors, ... 4: every step) go to standard error, and the errors are kept for the line that a failure prints
// (host/log/LibraryErrors.h), whatever the level. What follows "m_pass=" in a line is never shown.
void setLogLevel(int level);

}  // namespace zrhost
