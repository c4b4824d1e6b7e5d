#include "cli/progress_bar.h"

#include <string>
#include <string_view>
#include <unistd.h>

namespace zrcli {

namespace {

void draw(std::string_view text) {
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

std::string barAt(unsigned step) {
  constexpr unsigned kRoom = 20;
  constexpr unsigned kLength = 5;
  constexpr unsigned kTravel = kRoom - kLength;
  const unsigned place = step % (2 * kTravel);
  std::string bar(kRoom, ' ');
  return bar.replace(place <= kTravel ? place : 2 * kTravel - place, kLength, kLength, '#');
}

}  // namespace

ProgressBar::ProgressBar() : m_onTerminal(::isatty(STDOUT_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::show(std::uint64_t rows) {
  constexpr std::chrono::milliseconds kBetween(100);
  const auto now = std::chrono::steady_clock::now();
  if (!m_onTerminal || now < m_next) return;
  m_next = now + kBetween;
  m_isShown = true;
  draw("\r[" + barAt(m_step++) + "] " + std::to_string(rows) + " rows");
}

void ProgressBar::clear() {
  if (m_isShown) draw("\r\033[K");
  m_isShown = false;
}

}  // namespace zrcli
