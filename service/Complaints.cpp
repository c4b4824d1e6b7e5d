#include "service/Complaints.h"

#include <poll.h>
#include <unistd.h>

namespace zrservice {

bool Complaints::mayLog() {
  constexpr std::chrono::seconds kEach{5};
  const auto now = std::chrono::steady_clock::now();
  if (m_last && now - *m_last < kEach) return false;
  pollfd log{STDERR_FILENO, POLLOUT, 0};
  if (poll(&log, 1, 0) != 1) return false;
  m_last = now;
  return true;
}

}  // namespace zrservice
