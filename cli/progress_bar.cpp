#include "cli/progress_bar.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unistd.h>

namespace zrcli {

namespace {

void draw(std::string_view text) {
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

constexpr unsigned kRoom = 20;

std::string barAt(unsigned step) {
  constexpr unsigned kLength = 5;
  constexpr unsigned kTravel = kRoom - kLength;
  const unsigned place = step % (2 * kTravel);
  std::string bar(kRoom, ' ');
  return bar.replace(place <= kTravel ? place : 2 * kTravel - place, kLength, kLength, '#');
}

// With all bytes read the rest of the work is the database's, and its end is not known.
std::string remaining(double seconds, std::uint64_t done, std::uint64_t all) {
  if (done >= all) return "comparing";
  const auto left = static_cast<std::uint64_t>(seconds * static_cast<double>(all - done) / static_cast<double>(done));
  const std::string rest = std::to_string(left % 60);
  return std::to_string(left / 60) + (rest.size() == 1 ? ":0" : ":") + rest + " left";
}

}  // namespace

ProgressBar::ProgressBar() : m_onTerminal(::isatty(STDOUT_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::show(std::uint64_t rows, std::uint64_t done, std::uint64_t all) {
  constexpr std::chrono::milliseconds kBetween(100);
  const auto now = std::chrono::steady_clock::now();
  const bool isRead = all > 0 && done >= all;  // it is shown for long
  if (!m_onTerminal || (now < m_next && !isRead)) return;
  m_next = now + kBetween;
  m_isShown = true;
  const double seconds = std::chrono::duration<double>(now - m_start).count();
  const bool isKnown = all > 0 && done > 0;
  const auto grown = isKnown ? static_cast<unsigned>(std::min(done, all) * kRoom / all) : 0;
  const std::string bar = isKnown ? std::string(grown, '#') + std::string(kRoom - grown, ' ') : barAt(m_step++);
  const auto rate = static_cast<std::uint64_t>(static_cast<double>(rows) / std::max(seconds, 0.001));
  draw("\r\033[K[" + bar + "] " + std::to_string(rows) + " rows, " + std::to_string(rate) + " a second" +
       (isKnown ? ", " + remaining(seconds, done, all) : ""));
}

void ProgressBar::clear() {
  if (m_isShown) draw("\r\033[K");
  m_isShown = false;
}

}  // namespace zrcli
