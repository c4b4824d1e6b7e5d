#include "host/log/LogSink.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <unistd.h>

#include "host/base/terminal_text.h"
#include "host/log/LibraryErrors.h"
#include "support/PolicyLog.h"
#include "vexa/VexaLog.h"

namespace {

std::atomic<int> g_shownLevel = 0;

std::string formatted(const char* format, std::va_list args) {
  std::va_list measured;
  va_copy(measured, args);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, args);
  return text;
}

void maskPassword(std::string& text) {
  constexpr char kMark[] = "m_pass=";
  const std::size_t mark = text.find(kMark);
  if (mark != std::string::npos) text.replace(mark + sizeof kMark - 1, std::string::npos, "***");
}

void show(VEXA::VEXALogLevel level, std::string text) {
  while (!text.empty() && text.back() == '\n')
    text.pop_back();
  constexpr char kLetters[] = "EWIT";
  const char letter = kLetters[std::clamp(static_cast<int>(level), 1, 4) - 1];
  const std::string line = std::string(1, letter) + ' ' + zrhost::terminalText(text) + '\n';
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

void zrhost::setLogLevel(int level) {
  g_shownLevel = level;
  PolicyLog::ms_level = std::max(level, static_cast<int>(PolicyLog::LEVEL_ERROR));
}

void VEXA::Log::LogByLevel(VEXALogLevel level, const char* format, ...) {
  const int savedErrno = errno;
  std::va_list args;
  va_start(args, format);
  try {
    std::string text = formatted(format, args);
    maskPassword(text);
    if (level == VEXA_LOG_ERROR) zrhost::noteLibraryError(text.c_str());
    if (static_cast<int>(level) <= g_shownLevel) show(level, std::move(text));
  } catch (...) {  // no memory for a log line: the work itself goes on
  }
  va_end(args);
  errno = savedErrno;
}
