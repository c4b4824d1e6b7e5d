#include "common/log_capture.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "support/PolicyLog.h"

namespace zrtest {
namespace {

std::atomic<LogCapture*> g_current{nullptr};

}  // namespace

LogCapture::LogCapture() : m_previous(g_current.exchange(this)), m_previousLevel(PolicyLog::ms_level) {
  PolicyLog::ms_level = PolicyLog::LEVEL_TRACE;
}

LogCapture::~LogCapture() {
  g_current = m_previous;
  PolicyLog::ms_level = m_previousLevel;
}

std::vector<LogLine> LogCapture::lines() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_lines;
}

std::vector<std::string> LogCapture::texts(int level) const {
  std::vector<std::string> texts;
  for (const LogLine& line : lines()) {
    if (line.level == level) texts.push_back(line.text);
  }
  return texts;
}

void LogCapture::clear() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_lines.clear();
}

void LogCapture::add(int level, const char* text) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_lines.push_back({level, text});
}

}  // namespace zrtest

void VEXA::Log::LogByLevel(VEXALogLevel level, const char* format, ...) {
  zrtest::LogCapture* capture = zrtest::g_current.load();
  if (capture == nullptr) return;
  char text[4096];
  std::va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  capture->add(level, text);
}
