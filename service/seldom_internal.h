#pragma once

#include <chrono>
#include <optional>

namespace zrservice {

// Lets through, of what may happen thousands of times a second, one in an interval; for log lines. By one thread.
class Seldom {
 public:
  explicit Seldom(std::chrono::seconds interval) : m_interval(interval) {}

  bool isTime() {
    const auto now = std::chrono::steady_clock::now();
    if (m_last && now - *m_last < m_interval) return false;
    m_last = now;
    return true;
  }

 private:
  std::chrono::seconds m_interval;
  std::optional<std::chrono::steady_clock::time_point> m_last;
};

}  // namespace zrservice
