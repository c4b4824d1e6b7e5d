#include "support/CommonLogging.h"

#include <cstdarg>

#include "support/PolicyLog.h"
#include "support/log_text_internal.h"

void LogPrintf(const char* format, ...) {
  zr::LogText text;
  std::va_list args;
  va_start(args, format);
  text.format(format, args);
  va_end(args);
  PolicyLog::log(PolicyLog::LEVEL_ERROR, "%s", text.buffer);
}

void DbgPrintf(const char* /*format*/, ...) {}
