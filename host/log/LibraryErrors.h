#pragma once

#include <string>

namespace zrhost {

// What the library logs at level 1 on the way to a failure explains the failure better than the fixed text that it
// throws. A program's log sink hands these lines over with noteLibraryError, and zrhost puts them into the text of the
// HostError that it throws. For lines to arrive, PolicyLog::ms_level must be at least 1.
//
// Each thread has its own lines; the newest few are kept (at most 2,000 bytes together). noteLibraryError takes one
// line and keeps it as shownLogLine (host/log/log_line.h) makes it; it never throws.
void noteLibraryError(const char* text) noexcept;

// The calling thread's lines so far, joined by "; ", and forgets them. Empty when there are none.
std::string takeLibraryErrors();

}  // namespace zrhost
