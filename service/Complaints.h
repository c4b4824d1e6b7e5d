#pragma once

#include <chrono>
#include <optional>

namespace zrservice {

// When a thread that answers may log a warning: not each of thousands, and not when nobody takes what is logged, for
// which no answer waits. Threads: one.
class Complaints {
 public:
  // Whether now; counts on its being logged then.
  bool mayLog();

 private:
  std::optional<std::chrono::steady_clock::time_point> m_last;
};

}  // namespace zrservice
