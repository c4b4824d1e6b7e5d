#include "live/status_board_internal.h"

#include <algorithm>

namespace zrlive {

void StatusBoard::show(const Snapshot& snapshot) {
  const std::lock_guard lock(m_mutex);
  m_status.source = snapshot.source();
  m_status.epoch = snapshot.epoch();
  m_status.revision = snapshot.revision();
  m_status.generation = snapshot.generation();
  m_status.loadedAt = snapshot.loadedAt();
  m_status.loadTime = snapshot.loadTime();
  m_status.counts = snapshot.counts();
  ++m_status.loadsDone;
  m_hasSnapshot = true;
  m_changed.notify_all();
}

void StatusBoard::confirm(Clock::time_point when) {
  if (when.time_since_epoch().count() > m_confirmed) m_confirmed = when.time_since_epoch().count();
}

Clock::time_point StatusBoard::confirmed() const {
  return Clock::time_point(Clock::duration(m_confirmed));
}

ReloadWish StatusBoard::wish() const {
  const std::lock_guard lock(m_mutex);
  return m_wished > m_fulfilled ? ReloadWish{m_wished, m_accepted > m_fulfilled} : ReloadWish();
}

void StatusBoard::fulfil(const ReloadWish& wish, LivePolicies::Reload result) {
  if (wish.number == 0) return;
  const std::lock_guard lock(m_mutex);
  m_fulfilled = wish.number;
  m_result = result;
  m_changed.notify_all();
}

LiveState StatusBoard::state() const noexcept {
  if (!m_hasSnapshot) return LiveState::kUnavailable;
  const bool isStale = m_maxAge.count() > 0 && Clock::now() - confirmed() > m_maxAge;
  return isStale ? LiveState::kStale : LiveState::kReady;
}

LiveStatus StatusBoard::status() const {
  const std::lock_guard lock(m_mutex);
  LiveStatus status = m_status;
  status.state = state();
  status.hasAge = m_hasSnapshot && m_confirmed != kNever;
  if (status.hasAge) {
    status.age = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - confirmed());
  }
  return status;
}

std::uint64_t StatusBoard::wantReload(bool accept) {
  const std::lock_guard lock(m_mutex);
  ++m_wished;
  if (accept) m_accepted = m_wished;
  return m_wished;
}

LivePolicies::Reload StatusBoard::waitForReload(std::uint64_t number, std::chrono::milliseconds limit) const {
  std::unique_lock lock(m_mutex);
  const bool isDone =
      m_changed.wait_for(lock, std::min(limit, kLongestWait), [this, number] { return m_fulfilled >= number; });
  return isDone ? m_result : LivePolicies::Reload::kPending;
}

bool StatusBoard::waitForSnapshot(std::chrono::milliseconds limit) const {
  std::unique_lock lock(m_mutex);
  return m_changed.wait_for(lock, std::min(limit, kLongestWait), [this] { return m_hasSnapshot.load(); });
}

}  // namespace zrlive
