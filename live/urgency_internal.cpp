#include "live/urgency_internal.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "host/base/quiet_thread.h"

namespace zrlive {
namespace {

constexpr unsigned long long kMostWaiting = 1'000'000'000;  // nanoseconds

bool setPolicy(pid_t thread, int policy) noexcept {
  const sched_param none{};
  return sched_setscheduler(thread, policy, &none) == 0;
}

// On Linux a nice value is a thread's own. Where it may not be changed, the work is done all the same.
void setNice(int nice) noexcept {
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), nice);
}

}  // namespace

// Tried by a thread that can be lost: limits and privileges are of more kinds than can be asked for.
bool Urgency::triesComingBack() const noexcept {
  bool isBack = false;
  try {
    zrhost::quietThread([&isBack, nice = m_nice] {
      setNice(nice);
      isBack = setPolicy(0, SCHED_IDLE) && setPolicy(0, SCHED_OTHER);
    }).join();
  } catch (...) {  // no thread
  }
  return isBack;
}

void Urgency::begin() noexcept {
  m_thread = gettid();
  setNice(m_nice);
  Times times;
  m_canTell = m_nice > 0 && read(times);
  m_canComeBack = m_canTell && triesComingBack();
}

bool Urgency::mayRest() noexcept {
  return m_canTell && !m_isAwaited && !m_wasStarved.exchange(false);
}

void Urgency::beginResting() noexcept {
  m_thread = gettid();
  setNice(m_nice);
  Times times;
  if (!read(times)) return;
  m_ranBefore = times.ran;
  m_waitedBefore = times.waited;
  m_isResting = setPolicy(0, SCHED_IDLE);
  if (m_isAwaited) raise();  // somebody may have looked before it rested
}

void Urgency::endResting() noexcept {
  if (m_isResting.exchange(false)) setPolicy(0, SCHED_OTHER);
}

bool Urgency::raiseIfStarved() noexcept {
  Times times;
  if (!m_isResting || !read(times)) return false;
  const unsigned long long ran = times.ran - m_ranBefore, waited = times.waited - m_waitedBefore;
  if (waited < kMostWaiting || waited < ran || !m_isResting.exchange(false)) return false;
  m_wasStarved = true;
  return !setPolicy(m_thread, SCHED_OTHER);
}

void Urgency::raise() noexcept {
  m_isAwaited = true;
  if (m_isResting.exchange(false)) setPolicy(m_thread, SCHED_OTHER);
}

bool Urgency::read(Times& times) const noexcept {
  std::array<char, 64> path{};
  std::snprintf(path.data(), path.size(), "/proc/self/task/%d/schedstat", static_cast<int>(m_thread));
  const int file = open(path.data(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  std::array<char, 128> text{};
  const ssize_t size = ::read(file, text.data(), text.size() - 1);
  close(file);
  return size > 0 && std::sscanf(text.data(), "%llu %llu", &times.ran, &times.waited) == 2;
}

}  // namespace zrlive
