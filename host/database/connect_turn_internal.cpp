#include "host/database/connect_turn_internal.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zrhost {
namespace {

using Clock = std::chrono::steady_clock;

// Longer than any connecting takes that goes well.
constexpr std::chrono::seconds kLongestTurn{3};

struct Turns {
  std::mutex mutex;
  std::condition_variable ended;
  std::uint64_t last = 0;
  std::uint64_t holder = 0;  // 0: nobody
  Clock::time_point since;
};

// Never destroyed: a thread may be waiting in it when the process ends.
Turns& turns() {
  static auto* const turns = new Turns;
  return *turns;
}

std::uint64_t takeTurn() {
  Turns& all = turns();
  std::unique_lock lock(all.mutex);
  while (all.holder != 0 && Clock::now() < all.since + kLongestTurn)
    all.ended.wait_until(lock, all.since + kLongestTurn);
  all.holder = ++all.last;
  all.since = Clock::now();
  return all.holder;
}

thread_local const ConnectScope* t_scope = nullptr;

}  // namespace

ConnectTurn::ConnectTurn() : m_number(takeTurn()) {}

ConnectTurn::~ConnectTurn() {
  Turns& all = turns();
  {
    const std::lock_guard lock(all.mutex);
    if (all.holder != m_number) return;
    all.holder = 0;
  }
  all.ended.notify_one();
}

ConnectScope::ConnectScope(bool isFile, SilenceWatch::Waiter& waiter)
    : m_isFile(isFile), m_waiter(waiter), m_outer(t_scope) {
  t_scope = this;
}

ConnectScope::~ConnectScope() {
  t_scope = m_outer;
}

const ConnectScope* ConnectScope::ofThisThread() {
  return t_scope;
}

}  // namespace zrhost
