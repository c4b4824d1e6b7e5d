#include "host/log/LibraryErrors.h"

#include <string_view>
#include <utility>

namespace zrhost {
namespace {

constexpr std::size_t kMost = 2000;
constexpr std::string_view kPasswordMark = "m_pass=";

thread_local std::string t_lines;

void append(std::string_view line) {
  const std::size_t secret = line.find(kPasswordMark);
  if (secret != std::string_view::npos) line = line.substr(0, secret + kPasswordMark.size());
  if (!t_lines.empty()) t_lines += "; ";
  for (const char c : line)
    t_lines += (c == '\n' || c == '\r') ? ' ' : c;
  t_lines.erase(t_lines.find_last_not_of(' ') + 1);
  if (t_lines.size() > kMost) t_lines.erase(0, t_lines.size() - kMost);
}

}  // namespace

void noteLibraryError(const char* text) noexcept {
  try {
    if (text != nullptr) append(text);
  } catch (...) {  // no memory for an explanation: the failure itself is still reported
  }
}

std::string takeLibraryErrors() {
  return std::exchange(t_lines, {});
}

}  // namespace zrhost
