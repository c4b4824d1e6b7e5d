#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "vexa/VexaLog.h"

namespace zrtest {

struct LogLine {
  int level;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

// The test program's own log sink: it takes VEXA::Log::LogByLevel over and keeps the lines while an object lives (the
// newest object gets them). Without one, lines are dropped. The library's threshold is set to 4 meanwhile.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> lines() const;
  std::vector<std::string> texts(int level) const;
  void clear();
  void add(int level, const char* text);

 private:
  mutable std::mutex m_mutex;
  std::vector<LogLine> m_lines;
  LogCapture* m_previous;
  int m_previousLevel;
};

}  // namespace zrtest
