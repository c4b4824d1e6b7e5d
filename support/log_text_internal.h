#ifndef ZR_SUPPORT_LOG_TEXT_INTERNAL_H
#define ZR_SUPPORT_LOG_TEXT_INTERNAL_H

#include <cstdarg>
#include <cstdio>

namespace zr {

// One log message on the stack of the thread that logs: at most 1,022 characters, since the formatter gets 1,023 bytes
// and the last byte is a second terminating zero.
struct LogText {
  char buffer[1024];

  void format(const char* pattern, std::va_list args) {
    buffer[0] = '\0';
    buffer[sizeof buffer - 1] = '\0';
    std::vsnprintf(buffer, sizeof buffer - 1, pattern, args);
  }
};

}  // namespace zr

#endif  // ZR_SUPPORT_LOG_TEXT_INTERNAL_H
