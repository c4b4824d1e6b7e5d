#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace zrlive {

// What a loader and its watch share: the loader says that it waits for the database, and each time that it has heard
// something; the watch tells it to stop. All of it costs an ordinary store.
class Pulse {
 public:
  // Of the loader. Thrown by beat once the loader is to stop.
  struct Stopped {};
  void beginWaiting(bool isConnecting) {
    m_waitsFor.store(isConnecting ? kConnection : kWord, std::memory_order_relaxed);
  }
  void endWaiting() { m_waitsFor.store(kNothing, std::memory_order_relaxed); }
  void beat() {
    m_beats.store(m_beats.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    if (m_stop.load(std::memory_order_relaxed)) throw Stopped();
  }

  // Of the watch.
  void stop() { m_stop.store(true, std::memory_order_relaxed); }
  std::uint64_t beats() const { return m_beats.load(std::memory_order_relaxed); }
  bool isWaiting() const { return m_waitsFor.load(std::memory_order_relaxed) != kNothing; }
  bool isConnecting() const { return m_waitsFor.load(std::memory_order_relaxed) == kConnection; }

 private:
  enum : int { kNothing, kWord, kConnection };

  std::atomic<std::uint64_t> m_beats{0};
  std::atomic<int> m_waitsFor{kNothing};
  std::atomic<bool> m_stop{false};
};

}  // namespace zrlive
