#include "host/log/LogSink.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <poll.h>
#include <string>
#include <unistd.h>

#include "host/base/terminal_text.h"
#include "host/log/LibraryErrors.h"
#include "host/log/log_line.h"
#include "support/PolicyLog.h"
#include "vexa/VexaLog.h"

namespace {

std::atomic<int> g_shownLevel = 0;
std::atomic<bool> g_losesLines = false;
std::atomic<bool> g_hasLost = false;  // the last line
const auto g_start = std::chrono::steady_clock::now();

std::string formatted(const char* format, std::va_list args) {
  std::va_list measured;
  va_copy(measured, args);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, args);
  return text;
}

std::string head(VEXA::VEXALogLevel level) {
  constexpr char kLetters[] = "EWIT";
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - g_start;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3f %c ", elapsed.count(),
                kLetters[std::clamp(static_cast<int>(level), 1, 4) - 1]);
  return text.data();
}

// One call, so that lines of several threads do not mix.
void show(VEXA::VEXALogLevel level, const std::string& text) {
  constexpr char kOverProgressBar[] = "\r\033[K";
  const std::string start = isatty(STDERR_FILENO) == 1 ? kOverProgressBar : "";
  if (!zrhost::takesLine()) return;
  const std::string line = start + head(level) + zrhost::terminalText(zrhost::shownLogLine(text)) + '\n';
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

void zrhost::setLogLevel(int level) {
  g_shownLevel = level;
  const int ofLibrary = std::max(level, static_cast<int>(PolicyLog::LEVEL_ERROR));
  __atomic_store_n(&PolicyLog::ms_level, ofLibrary, __ATOMIC_RELAXED);  // threads may be logging
}

void zrhost::loseLinesNobodyReads() {
  g_losesLines = true;
}

// Only the first of the lines that are lost is waited for.
bool zrhost::takesLine() {
  constexpr int kPatience = 1000;  // ms
  if (!g_losesLines) return true;
  pollfd log{STDERR_FILENO, POLLOUT, 0};
  const bool takes = poll(&log, 1, g_hasLost ? 0 : kPatience) == 1;
  g_hasLost = !takes;
  return takes;
}

void VEXA::Log::LogByLevel(VEXALogLevel level, const char* format, ...) {
  const int savedErrno = errno;
  std::va_list args;
  va_start(args, format);
  try {
    const std::string text = formatted(format, args);
    if (level == VEXA_LOG_ERROR) zrhost::noteLibraryError(text.c_str());
    if (static_cast<int>(level) <= g_shownLevel) show(level, text);
  } catch (...) {  // no memory for a log line: the work itself goes on
  }
  va_end(args);
  errno = savedErrno;
}
