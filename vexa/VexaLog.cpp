#include "vexa/VexaLog.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int kPrefixLength = 2;
constexpr int kLongestMessage = 4095;

char letterOf(VEXA::VEXALogLevel level) {
  switch (level) {
    case VEXA::VEXA_LOG_ERROR:
      return 'E';
    case VEXA::VEXA_LOG_WARNING:
      return 'W';
    case VEXA::VEXA_LOG_INFO:
      return 'I';
    default:
      return 'T';
  }
}

}  // namespace

void VEXA::Log::LogByLevel(VEXALogLevel level, const char* format, ...) {
  const int savedErrno = errno;
  char line[kPrefixLength + kLongestMessage + 1] = {letterOf(level), ' '};
  std::va_list args;
  va_start(args, format);
  const int wanted = std::vsnprintf(line + kPrefixLength, kLongestMessage + 1, format, args);
  va_end(args);
  int length = kPrefixLength + std::clamp(wanted, 0, kLongestMessage);
  if (line[length - 1] != '\n') line[length++] = '\n';  // takes the place of the terminating zero
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line, static_cast<std::size_t>(length));
  errno = savedErrno;
}
