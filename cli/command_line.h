#pragma once

namespace zrcli {

// Reads the command line, does what it says and returns the exit status. Every failure is one line on standard error.
int runCommandLine(int argc, char** argv) noexcept;

}  // namespace zrcli
