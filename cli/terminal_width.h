#pragma once

#include <cstddef>

namespace zrcli {

// How many columns a table on standard output may take: those that COLUMNS asks for, else those of the terminal, else
// 80. 0, for any number, when standard output is no terminal.
std::size_t terminalWidth();

}  // namespace zrcli
