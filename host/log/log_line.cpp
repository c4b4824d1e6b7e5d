#include "host/log/log_line.h"

#include <map>
#include <mutex>
#include <utility>

#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

std::mutex g_mutex;
std::map<std::string, std::string> g_shownNames;

void maskPassword(std::string& line) {
  constexpr std::string_view kMark = "m_pass=";
  const std::size_t mark = line.find(kMark);
  if (mark != std::string::npos) line.replace(mark + kMark.size(), std::string::npos, "***");
}

void replaceNames(std::string& line) {
  const std::lock_guard lock(g_mutex);
  for (const auto& [inner, shown] : g_shownNames) {
    for (std::size_t at = 0; (at = line.find(inner, at)) != std::string::npos; at += shown.size())
      line.replace(at, inner.size(), shown);
  }
}

}  // namespace

LogAlias::LogAlias(std::string inner, std::string shown) : m_inner(std::move(inner)) {
  const std::lock_guard lock(g_mutex);
  g_shownNames[m_inner] = std::move(shown);
}

LogAlias::~LogAlias() {
  const std::lock_guard lock(g_mutex);
  g_shownNames.erase(m_inner);
}

std::string shownLogLine(std::string_view line) {
  std::string shown = oneLine(std::string(line));
  shown.erase(shown.find_last_not_of(' ') + 1);
  maskPassword(shown);
  replaceNames(shown);
  return shown;
}

}  // namespace zrhost
