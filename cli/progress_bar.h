#pragma once

#include <chrono>
#include <cstdint>

namespace zrcli {

// Shows on standard error that rows are coming, while standard output and standard error are terminals; otherwise does
// nothing. How many rows of a database there will be is not known beforehand, so the bar moves to and fro beside their
// number; of a file the bar grows, with the rows a second and the time that remains.
class ProgressBar {
 public:
  ProgressBar();
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // Draws at most ten times a second, but once all is read.
  void show(std::uint64_t rows) { show(rows, 0, 0); }
  // `done` of `all` bytes were read; 0 of all when that is not known.
  void show(std::uint64_t rows, std::uint64_t done, std::uint64_t all);
  // Takes the bar away, so that a line can be printed in its place.
  void clear();

 private:
  bool m_onTerminal;
  bool m_isShown = false;
  unsigned m_step = 0;
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point m_next{};
};

}  // namespace zrcli
