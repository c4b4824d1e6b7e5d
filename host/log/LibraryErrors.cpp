#include "host/log/LibraryErrors.h"

#include <utility>

#include "host/log/log_line.h"

namespace zrhost {
namespace {

constexpr std::size_t kMost = 2000;

thread_local std::string t_lines;

void append(const std::string& line) {
  if (!t_lines.empty()) t_lines += "; ";
  t_lines += line;
  if (t_lines.size() > kMost) t_lines.erase(0, t_lines.size() - kMost);
}

}  // namespace

void noteLibraryError(const char* text) noexcept {
  try {
    if (text != nullptr) append(shownLogLine(text));
  } catch (...) {  // no memory for an explanation: the failure itself is still reported
  }
}

std::string takeLibraryErrors() {
  return std::exchange(t_lines, {});
}

}  // namespace zrhost
