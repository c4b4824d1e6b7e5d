#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "live/LivePolicies.h"
#include "live/worker_internal.h"

namespace zrlive {

// A load that somebody wants to have.
struct ReloadWish {
  std::uint64_t number = 0;  // rising; 0 for none
  bool accept = false;
};

// What the engine says about itself, for other threads to read. Its lock is held for copying alone.
class StatusBoard {
 public:
  explicit StatusBoard(std::chrono::milliseconds maxAge) : m_maxAge(maxAge) {}

  // Of the engine.
  template <typename Change>
  void change(Change change) {
    const std::lock_guard lock(m_mutex);
    change(m_status);
  }
  // A snapshot of that kind is lent now.
  void show(const Snapshot& snapshot);
  // The database has said that the snapshot's content is its own, at that time.
  void confirm(Clock::time_point when);
  Clock::time_point confirmed() const;
  ReloadWish wish() const;
  // The wishes up to that number have come true, or not.
  void fulfil(const ReloadWish& wish, LivePolicies::Reload result);

  // Of any thread.
  LiveState state() const noexcept;
  LiveStatus status() const;
  std::uint64_t wantReload(bool accept);
  LivePolicies::Reload waitForReload(std::uint64_t number, std::chrono::milliseconds limit) const;
  bool waitForSnapshot(std::chrono::milliseconds limit) const;

 private:
  static constexpr Clock::rep kNever = Clock::rep(-1) << (sizeof(Clock::rep) * 8 - 2);

  const std::chrono::milliseconds m_maxAge;
  std::atomic<bool> m_hasSnapshot{false};
  std::atomic<Clock::rep> m_confirmed{kNever};
  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  LiveStatus m_status;
  std::uint64_t m_wished = 0, m_accepted = 0, m_fulfilled = 0;  // numbers of wishes: the last one of each kind
  LivePolicies::Reload m_result = LivePolicies::Reload::kPending;
};

}  // namespace zrlive
