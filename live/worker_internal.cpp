#include "live/worker_internal.h"

#include <sys/resource.h>
#include <unistd.h>
#include <utility>

#include "host/base/quiet_thread.h"

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
  std::shared_ptr<Bell> bell;
  std::mutex mutex;
  std::condition_variable posted;
  std::function<void()> job;  // the thread's own while it is busy
  bool isBusy = false;
  bool end = false;
};

Worker::Worker(std::shared_ptr<Bell> bell, int nice) : m_desk(std::make_shared<Desk>()) {
  m_desk->bell = std::move(bell);
  m_thread = zrhost::quietThread([desk = m_desk, nice] { work(*desk, nice); });
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

void Worker::post(std::function<void()> job) {
  const std::lock_guard lock(m_desk->mutex);
  m_desk->job = std::move(job);
  m_desk->isBusy = true;
  m_desk->posted.notify_all();
}

bool Worker::isBusy() const {
  const std::lock_guard lock(m_desk->mutex);
  return m_desk->isBusy;
}

void Worker::work(Desk& desk, int nice) {
  // On Linux a nice value is a thread's own. Where it may not be changed, the work is done all the same.
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), nice);
  std::unique_lock lock(desk.mutex);
  for (;;) {
    desk.posted.wait(lock, [&desk] { return desk.end || desk.isBusy; });
    if (!desk.isBusy) return;
    lock.unlock();
    desk.job();
    desk.job = nullptr;  // what it owned is freed before the worker counts as idle
    lock.lock();
    desk.isBusy = false;
    desk.bell->ring();
  }
}

}  // namespace zrlive
