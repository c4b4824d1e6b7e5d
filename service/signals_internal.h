#pragma once

#include <csignal>
#include <optional>

namespace zrservice {

// The signals that the service waits for: SIGHUP, SIGTERM and SIGINT. By the main thread, all of it.
class Signals {
 public:
  // From now on they wait until somebody waits for them; threads that are started later leave them alone.
  Signals();

  // The next one; nothing after so long.
  int wait() const;
  std::optional<int> waitFor(timespec limit) const;

  // From now on one that means the end ends the process at once, as if it had never been waited for.
  static void letThemEnd();

  static bool meansEnd(int number) { return number == SIGTERM || number == SIGINT; }

 private:
  sigset_t m_set{};
};

}  // namespace zrservice
