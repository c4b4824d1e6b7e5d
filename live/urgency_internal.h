#pragma once

#include <atomic>
#include <memory>
#include <sys/types.h>

namespace zrlive {

// How urgent the work of a thread is to the system.
//
// A nice value alone does not keep work out of the way: a thread that wakes up to answer has to wait until the system
// looks at its processor again, some milliseconds in the worst case. Only what runs when nothing else wants the
// processor (SCHED_IDLE) gives way at once. On a machine that is never idle such work would never end, so it becomes
// ordinary work of its nice value when it has waited for too long. Where the system would not let it come back (see
// RLIMIT_NICE in setrlimit(2)), it is ordinary work from the start.
//
// Threads: those of the first group the working thread alone, the others any.
class Urgency {
 public:
  explicit Urgency(int nice) : m_nice(nice) {}

  // Makes the calling thread the one that this is about.
  void begin() noexcept;
  // Around a piece of work that takes long and that nobody waits for. After one that starved the next is ordinary.
  void beginResting() noexcept;
  void endResting() noexcept;

  // To be called now and then while the thread works.
  void raiseIfStarved() noexcept;
  // Ordinary work from now on, the pieces to come included: somebody waits for it.
  void raise() noexcept;

 private:
  struct Times {
    unsigned long long ran = 0, waited = 0;  // nanoseconds
  };
  // Of the thread so far; false when the system does not tell.
  bool read(Times& times) const noexcept;
  bool canComeBack() const noexcept;

  const int m_nice;
  bool m_mayRest = false;
  std::atomic<pid_t> m_thread{0};
  std::atomic<unsigned long long> m_ranBefore{0}, m_waitedBefore{0};
  std::atomic<bool> m_isResting{false}, m_wasStarved{false}, m_isAwaited{false};
};

}  // namespace zrlive
