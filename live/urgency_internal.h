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
// RLIMIT_NICE in setrlimit(2)), only a thread that can be lost may rest, whose work somebody begins anew.
//
// Threads: those of the first group the working threads alone, one at a time, the others any.
class Urgency {
 public:
  explicit Urgency(int nice) : m_nice(nice) {}

  // Makes the calling thread one of this nice value.
  void begin() noexcept;
  bool canComeBack() const noexcept { return m_canComeBack; }
  // Whether a piece of work that nobody waits for may rest: not the one after one that starved.
  bool mayRest() noexcept;
  // Around such a piece, of the calling thread.
  void beginResting() noexcept;
  void endResting() noexcept;

  // To be called now and then while a thread works. Answers whether it starves, and cannot come back.
  bool raiseIfStarved() noexcept;
  // Ordinary work from now on, the pieces to come included: somebody waits for it.
  void raise() noexcept;

 private:
  struct Times {
    unsigned long long ran = 0, waited = 0;  // nanoseconds
  };
  // Of the thread so far; false when the system does not tell.
  bool read(Times& times) const noexcept;
  bool triesComingBack() const noexcept;

  const int m_nice;
  bool m_canTell = false;
  std::atomic<bool> m_canComeBack{false};
  std::atomic<pid_t> m_thread{0};
  std::atomic<unsigned long long> m_ranBefore{0}, m_waitedBefore{0};
  std::atomic<bool> m_isResting{false}, m_wasStarved{false}, m_isAwaited{false};
};

}  // namespace zrlive
