#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/base/DatabaseOptions.h"

namespace zrhost {

// Notices that a server says nothing any more. A driver that waits for it cannot be interrupted, so the options'
// onSilence is called from a thread of the watch's own; it ends the process.
//
// The watch's clock is a number that its thread raises a few times in each read time-out: a wait begins and ends by one
// atomic operation, which a row is not slowed down by.
class SilenceWatch {
 public:
  // Watches nothing, at no cost, when the options have no onSilence.
  explicit SilenceWatch(const DatabaseOptions& options);
  ~SilenceWatch();
  SilenceWatch(const SilenceWatch&) = delete;
  SilenceWatch& operator=(const SilenceWatch&) = delete;

  // Somebody who waits now and then, in one thread at a time.
  class Waiter {
   public:
    explicit Waiter(SilenceWatch& watch);
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    // Calls `wait`. Once the watch has given up, this does not return: the thread that ends the process has it for
    // itself, so that nothing is half written.
    template <typename Action>
    auto during(Action wait) {
      const During guard(*this, m_watch.m_readTicks);
      return wait();
    }
    // The same for connecting, which the driver gives up by itself, unless it is the server behind the login that says
    // nothing: the connect time-out comes on top.
    template <typename Action>
    auto whileConnecting(Action wait) {
      const During guard(*this, m_watch.m_connectTicks);
      return wait();
    }

   private:
    friend SilenceWatch;
    struct During {
      During(Waiter& who, std::uint32_t ticks) : waiter(who) { waiter.begin(ticks); }
      ~During() { waiter.end(); }
      During(const During&) = delete;
      During& operator=(const During&) = delete;
      Waiter& waiter;
    };
    void begin(std::uint32_t ticks) { m_deadline = m_watch.m_now + ticks; }
    void end() noexcept;

    SilenceWatch& m_watch;
    std::atomic<std::uint32_t> m_deadline{0};  // by the watch's clock; 0 when nobody waits, 1 when it has given up
  };

 private:
  void run();
  bool lookAtAll();

  const std::string m_text;
  void (*const m_onSilence)(const std::string&);
  const std::chrono::milliseconds m_tick;
  const std::uint32_t m_readTicks, m_connectTicks;
  std::atomic<std::uint32_t> m_now{2};
  std::mutex m_mutex;
  std::condition_variable m_ended;
  bool m_end = false;
  std::vector<Waiter*> m_waiters;
  std::thread m_thread;
};

}  // namespace zrhost
