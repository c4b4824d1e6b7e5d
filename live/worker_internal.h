#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace zrlive {

using Clock = std::chrono::steady_clock;
// What may be added to any time without leaving the range of clocks.
inline constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(24 * 365 * 10);

// What a thread sleeps on until something is to be done.
class Bell {
 public:
  void ring();
  // Returns when it has rung since the last call, at the latest at `deadline`.
  void waitUntil(Clock::time_point deadline);

 private:
  std::mutex m_mutex;
  std::condition_variable m_rung;
  bool m_isRung = false;
};

// A thread that does one job after the other. A job may never return, because a driver does not: whoever destroys a
// worker that is busy leaves its thread standing, so a job owns all that it touches.
class Worker {
 public:
  // `bell` is rung when a job is done. Throws std::system_error when there can be no thread.
  Worker(std::shared_ptr<Bell> bell, int nice);
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // How soon a job is to be done: one that takes long and that nobody waits for stands back behind everything else,
  // where it can come back from that, or always when it may be given up for lost.
  enum class Haste { kOrdinary, kNone, kNoneAtAll };
  // Has the thread do a job, which must not throw; only while it is not busy.
  void post(std::function<void()> job, Haste haste = Haste::kOrdinary);
  // What a job wrote can be read once it is not busy any more.
  bool isBusy() const;

  // See Urgency. Answers true for a job that is to be given up.
  bool raiseIfStarved() noexcept;
  void raise() noexcept;

 private:
  struct Desk;
  static void work(Desk& desk);
  static void doJob(Desk& desk);

  std::shared_ptr<Desk> m_desk;
  std::thread m_thread;
};

}  // namespace zrlive
