#include "cli/terminal_width.h"

#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

#include "host/base/strict_number.h"

namespace zrcli {

std::size_t terminalWidth() {
  constexpr std::size_t kUsual = 80;
  constexpr std::int64_t kMost = 100'000;
  if (::isatty(STDOUT_FILENO) != 1) return 0;
  const char* const wanted = std::getenv("COLUMNS");
  if (const auto columns = zrhost::strictNumber(wanted != nullptr ? wanted : "", 1, kMost)) {
    return static_cast<std::size_t>(*columns);
  }
  winsize size{};
  const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUsual;
}

}  // namespace zrcli
