#pragma once

#include <string>

namespace zrcli {

// DatabaseOptions::onSilence of the command: prints the line and ends the process with the status of a database that
// cannot be reached. What was answered before is out already: the database is not read while an answer is being
// written.
[[noreturn]] void endForSilence(const std::string& text);

}  // namespace zrcli
