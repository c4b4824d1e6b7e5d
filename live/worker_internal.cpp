#include "live/worker_internal.h"

#include <exception>
#include <utility>

#include "host/base/quiet_thread.h"
#include "live/urgency_internal.h"

namespace zrlive {

void Bell::ring() {
  const std::lock_guard lock(m_mutex);
  m_isRung = true;
  m_rung.notify_all();
}

void Bell::waitUntil(Clock::time_point deadline) {
  std::unique_lock lock(m_mutex);
  m_rung.wait_until(lock, deadline, [this] { return m_isRung; });
  m_isRung = false;
}

// What the two threads share; the one that is left standing keeps it.
struct Worker::Desk {
  explicit Desk(int nice) : urgency(nice) {}

  Urgency urgency;
  std::shared_ptr<Bell> bell;
  std::mutex mutex;
  std::condition_variable posted;
  std::function<void()> job;  // the thread's own while it is busy
  Haste haste = Haste::kOrdinary;
  bool isBusy = false;
  bool end = false;
};

Worker::Worker(std::shared_ptr<Bell> bell, int nice) : m_desk(std::make_shared<Desk>(nice)) {
  m_desk->bell = std::move(bell);
  m_thread = zrhost::quietThread([desk = m_desk] { work(*desk); });
}

Worker::~Worker() {
  bool isBusy = false;
  {
    const std::lock_guard lock(m_desk->mutex);
    m_desk->end = true;
    isBusy = m_desk->isBusy;
    m_desk->posted.notify_all();
  }
  isBusy ? m_thread.detach() : m_thread.join();
}

void Worker::post(std::function<void()> job, Haste haste) {
  const std::lock_guard lock(m_desk->mutex);
  m_desk->job = std::move(job);
  m_desk->haste = haste;
  m_desk->isBusy = true;
  m_desk->posted.notify_all();
}

bool Worker::isBusy() const {
  const std::lock_guard lock(m_desk->mutex);
  return m_desk->isBusy;
}

bool Worker::raiseIfStarved() noexcept {
  return m_desk->urgency.raiseIfStarved();
}

void Worker::raise() noexcept {
  m_desk->urgency.raise();
}

// A thread that cannot come back from resting is one of its own.
void Worker::doJob(Desk& desk) {
  const bool rests = desk.haste != Haste::kOrdinary && desk.urgency.mayRest();
  const auto rest = [&desk] {
    desk.urgency.beginResting();
    desk.job();
    desk.urgency.endResting();
  };
  if (rests && desk.urgency.canComeBack()) return rest();
  std::thread own;
  try {
    if (rests && desk.haste == Haste::kNoneAtAll) own = zrhost::quietThread(rest);
  } catch (const std::exception&) {  // no thread, or no memory for one
  }
  own.joinable() ? own.join() : desk.job();
}

void Worker::work(Desk& desk) {
  desk.urgency.begin();
  std::unique_lock lock(desk.mutex);
  for (;;) {
    desk.posted.wait(lock, [&desk] { return desk.end || desk.isBusy; });
    if (!desk.isBusy) return;
    lock.unlock();
    doJob(desk);
    desk.job = nullptr;  // what it owned is freed before the worker counts as idle
    lock.lock();
    desk.isBusy = false;
    desk.bell->ring();
  }
}

}  // namespace zrlive
