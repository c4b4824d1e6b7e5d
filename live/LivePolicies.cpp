#include "live/LivePolicies.h"

#include <system_error>
#include <utility>

#include "live/engine_internal.h"
#include "live/live_error_internal.h"
#include "live/options_internal.h"
#include "live/snapshot_maker_internal.h"
#include "support/PolicyLog.h"

namespace zrlive {

class LivePolicies::Parts : public Engine {
  using Engine::Engine;
};

LivePolicies::LivePolicies(LiveOptions options)
    : m_parts(std::make_unique<Parts>(checkedOptions(std::move(options)))) {}

LivePolicies::~LivePolicies() = default;

void LivePolicies::start() {
  try {
    m_parts->start();
  } catch (const zrhost::HostError& error) {
    throw liveErrorOf(error);
  } catch (const std::system_error& error) {
    throw LiveError(LiveError::Kind::kInternal, std::string("cannot start a thread: ") + error.what());
  }
}

void LivePolicies::stop(std::chrono::milliseconds limit) noexcept {
  m_parts->stop(limit);
}

std::shared_ptr<const Snapshot> LivePolicies::lease() const noexcept {
  return m_parts->lease();
}

LiveState LivePolicies::state() const noexcept {
  return m_parts->board().state();
}

LiveStatus LivePolicies::status() const {
  return m_parts->board().status();
}

bool LivePolicies::waitForSnapshot(std::chrono::milliseconds limit) const {
  return m_parts->board().waitForSnapshot(limit);
}

LivePolicies::Reload LivePolicies::reload(bool accept, std::chrono::milliseconds wait) {
  const std::uint64_t wish = m_parts->board().wantReload(accept);
  m_parts->wake();
  return m_parts->board().waitForReload(wish, wait);
}

void LivePolicies::setSinkLevel(LogLevel level) noexcept {
  __atomic_store_n(&PolicyLog::ms_level, static_cast<int>(level), __ATOMIC_RELAXED);
}

LiveStatus LivePolicies::check(const LiveOptions& options) {
  const LiveOptions checked = checkedOptions(options);
  const auto bell = std::make_shared<Bell>();
  Loader loader(databaseOf(checked), bell, 0);
  loader.begin({true, true});
  while (!loader.isDone()) {
    bell->waitUntil(Clock::now() + checked.readTimeout / 16);
    if (!loader.isDone() && loader.silence(Clock::now()) > checked.readTimeout) {
      throw LiveError(LiveError::Kind::kUnreachable, silenceText(checked));
    }
  }
  LoadOutcome outcome = loader.take();
  if (outcome.failure) throw LiveError(*outcome.failure);
  LiveStatus status;
  status.source = LiveSource::kDatabase;
  status.epoch = outcome.revision.epoch;
  status.revision = outcome.revision.revision;
  status.loadTime = outcome.time;
  status.counts = countsOf(*outcome.snapshot);
  status.hasStandbyLag = outcome.standbyLag.has_value();
  status.standbyLag = outcome.standbyLag.value_or(std::chrono::milliseconds(0));
  return status;
}

}  // namespace zrlive
