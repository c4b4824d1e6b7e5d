#include "host/database/silence_watch_internal.h"

#include <unistd.h>

#include "host/base/quiet_thread.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

constexpr std::uint32_t kGivenUp = 1;
constexpr int kTicksInATimeOut = 16;

}  // namespace

SilenceWatch::SilenceWatch(const DatabaseOptions& options)
    : m_text(oneLine("no answer from " + placeOf(options) + " for " + std::to_string(options.readTimeout) +
                     " s; look after the server, or give it more time (read_timeout)")),
      m_onSilence(options.onSilence),
      m_tick(options.readTimeout * 1000 / kTicksInATimeOut),
      m_readTicks(kTicksInATimeOut + 1),
      m_connectTicks(m_readTicks + static_cast<std::uint32_t>(options.connectTimeout * 1000 / m_tick.count())) {
  if (m_onSilence != nullptr) m_thread = quietThread([this] { run(); });
}

SilenceWatch::~SilenceWatch() {
  if (!m_thread.joinable()) return;
  {
    const std::lock_guard lock(m_mutex);
    m_end = true;
  }
  m_ended.notify_one();
  m_thread.join();
}

void SilenceWatch::run() {
  std::unique_lock lock(m_mutex);
  while (!m_ended.wait_for(lock, m_tick, [this] { return m_end; })) {
    ++m_now;
    if (lookAtAll()) m_onSilence(m_text);
  }
}

bool SilenceWatch::lookAtAll() {
  for (Waiter* waiter : m_waiters) {
    std::uint32_t deadline = waiter->m_deadline;
    if (deadline > kGivenUp && deadline <= m_now && waiter->m_deadline.compare_exchange_strong(deadline, kGivenUp)) {
      return true;
    }
  }
  return false;
}

SilenceWatch::Waiter::Waiter(SilenceWatch& watch) : m_watch(watch) {
  const std::lock_guard lock(m_watch.m_mutex);
  m_watch.m_waiters.push_back(this);
}

SilenceWatch::Waiter::~Waiter() {
  const std::lock_guard lock(m_watch.m_mutex);
  std::erase(m_watch.m_waiters, this);
}

void SilenceWatch::Waiter::end() noexcept {
  if (m_deadline.exchange(0) != kGivenUp) return;
  for (;;)
    pause();
}

}  // namespace zrhost
