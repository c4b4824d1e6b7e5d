#include "support/PolicyLog.h"

#include <cstdarg>
#include <cstdint>
#include <sys/time.h>

#include "support/log_text_internal.h"
#include "vexa/VexaLog.h"

int PolicyLog::ms_level = LEVEL_TRACE;

namespace {

VEXA::VEXALogLevel sinkLevel(int level) {
  const bool known = level >= PolicyLog::LEVEL_ERROR && level <= PolicyLog::LEVEL_TRACE;
  return static_cast<VEXA::VEXALogLevel>(known ? level : PolicyLog::LEVEL_TRACE);
}

}  // namespace

void PolicyLog::log(LogLevel level, const char* format, ...) {
  if (!passes(level)) return;
  zr::LogText text;
  std::va_list args;
  va_start(args, format);
  text.format(format, args);
  va_end(args);
  VEXA::Log::LogByLevel(sinkLevel(level), "%s", text.buffer);
}

unsigned int PolicyLog::getTime() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000000U + static_cast<std::uint32_t>(now.tv_usec);
}
