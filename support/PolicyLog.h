#ifndef ZR_SUPPORT_POLICYLOG_H
#define ZR_SUPPORT_POLICYLOG_H

#include "support/export.h"

// The library's log front end: filters messages by one threshold for the process and hands each, formatted, to the sink
// VEXA::Log::LogByLevel. It adds nothing to a message: no time, no prefix, no line feed.
//
// Threads: everything here may run in any number of threads at once; whether lines may reach the sink at once is the
// sink's affair. Failures: none are reported and nothing is thrown. No heap memory is used.
class ZR_EXPORT PolicyLog {
 public:
  // How grave a message is, the gravest first. Any int can be cast to it. The library itself emits LEVEL_ERROR and
  // LEVEL_TRACE only. The sink gets levels 1 to 4 as they are and every other one as 4.
  enum LogLevel : int { LEVEL_ERROR = 1, LEVEL_WARNING = 2, LEVEL_INFO = 3, LEVEL_TRACE = 4 };

  // The threshold: a message passes when its level is at most this. 4 when the library is loaded. The host assigns it
  // at any time; a change takes effect whenever a logging thread next reads it.
  static int ms_level;

  // Whether a message of `level` would pass now. Costs one comparison and no call.
  static bool passes(LogLevel level) { return static_cast<int>(level) <= __atomic_load_n(&ms_level, __ATOMIC_RELAXED); }

  // Formats as printf does and calls the sink once, as LogByLevel(level, "%s", text): a % in the text stays a
  // character. A text of more than 1,022 bytes is cut there. A message above the threshold is dropped before it is
  // formatted.
  static void log(LogLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));

  // The wall clock in microseconds modulo 2^32: it wraps about every 71.6 minutes. For short intervals by difference.
  static unsigned int getTime();
};

// PolicyLog::log for busy places: the arguments are not evaluated when the level is filtered.
#define ZR_POLICY_LOG(level, ...)                                     \
  do {                                                                \
    if (PolicyLog::passes(level)) PolicyLog::log(level, __VA_ARGS__); \
  } while (false)

#define ZR_TRACE(...) ZR_POLICY_LOG(PolicyLog::LEVEL_TRACE, __VA_ARGS__)

#endif  // ZR_SUPPORT_POLICYLOG_H
