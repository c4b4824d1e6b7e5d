#ifndef ZR_VEXA_VEXALOG_H
#define ZR_VEXA_VEXALOG_H

#include "vexa/VexaExport.h"

namespace VEXA {

// How grave a log line is, the gravest first.
enum VEXALogLevel : int { VEXA_LOG_ERROR = 1, VEXA_LOG_WARNING = 2, VEXA_LOG_INFO = 3, VEXA_LOG_TRACE = 4 };

// The log sink of the host. libvexa brings a sink that writes to standard error; a program that defines
// VEXA::Log::LogByLevel itself takes it over for every library in the process.
struct VEXA_EXPORT Log {
  // Writes one message, formatted as by printf. The line carries the level's letter (E, W, I or T) and a blank in front
  // and ends in exactly one line feed, whether the message brought one or not. It reaches descriptor 2 in one write, so
  // lines of several threads do not mix. A message is cut at 4,095 bytes. Fails in silence; errno is left as it was.
  //
  // Threads: any number at once.
  static void LogByLevel(VEXALogLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));
};

}  // namespace VEXA

#endif  // ZR_VEXA_VEXALOG_H
