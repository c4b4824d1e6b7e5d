#include <algorithm>
#include <utility>

#include "live/engine_internal.h"
#include "live/snapshot_maker_internal.h"

namespace zrlive {
namespace {

using WallClock = std::chrono::system_clock;

// A time of the one clock on the other, as far as both agree; never in the future.
Clock::time_point steadyTime(WallClock::time_point time) {
  const auto age = std::max(WallClock::now() - time, WallClock::duration::zero());
  return Clock::now() - std::chrono::duration_cast<Clock::duration>(age);
}

}  // namespace

bool Engine::isKept() const {
  return m_kept && m_kept->isSameContent(m_epoch, m_revision);
}

WallClock::time_point Engine::confirmedAt() const {
  return WallClock::now() - std::chrono::duration_cast<WallClock::duration>(Clock::now() - m_board.confirmed());
}

// The first time at once, then at intervals: the rows when they are others, and else when they were confirmed.
void Engine::beginKeeping(Time now) {
  if (!m_keeper || m_keeper->hasTask() || m_source != LiveSource::kDatabase || now < m_nextKeep) return;
  if (!isKept()) return m_keeper->beginReplacing(m_slots.lease(), confirmedAt());
  LastGoodState state = *m_kept;
  state.confirmed = confirmedAt();
  m_keeper->beginConfirming(state);
}

void Engine::takeKept(Time now) {
  if (!m_keeper || !m_keeper->isDone()) return;
  KeepOutcome outcome = m_keeper->take();
  outcome.task == KeepOutcome::Task::kLoad ? onLastGoodLoaded(outcome) : onKept(now, outcome);
}

void Engine::onKept(Time now, KeepOutcome& outcome) {
  m_nextKeep = now + m_options.keepInterval;
  if (outcome.failure) {
    log(LogLevel::kError, std::string("the last good state is not kept: ") + outcome.failure->what());
  } else {
    m_kept = outcome.state;
  }
  m_board.change([&](LiveStatus& status) {
    status.keepError = outcome.failure ? outcome.failure->what() : "";
    status.hasKept = m_kept.has_value();
    status.keptEpoch = m_kept ? m_kept->epoch : "";
    status.keptRevision = m_kept ? m_kept->revision : 0;
  });
  if (!outcome.failure && outcome.task == KeepOutcome::Task::kReplace) {
    log(LogLevel::kInfo, "revision " + std::to_string(outcome.state.revision) + " is kept as the last good state, in " +
                             std::to_string(outcome.time.count()) + " ms");
  }
}

void Engine::onLastGoodLoaded(KeepOutcome& outcome) {
  if (outcome.failure) {
    log(LogLevel::kError, outcome.failure->what());
    m_kept.reset();
    if (m_source == LiveSource::kNone && m_held) m_isLoadDue = true;  // there is nothing to answer from instead
    return;
  }
  m_kept = m_lastGoodState = outcome.state;
  m_board.change([this](LiveStatus& status) {
    status.hasKept = true;
    status.keptEpoch = m_kept->epoch;
    status.keptRevision = m_kept->revision;
  });
  if (m_source != LiveSource::kNone) return;
  m_lastGood = SnapshotMaker::make(std::move(outcome.snapshot),
                                   {LiveSource::kLastGood, m_kept->epoch, m_kept->revision, outcome.time});
}

void Engine::answerFromLastGood(Time now) {
  if (!m_lastGood || (!m_mayUseLastGood && now < m_startedAt + m_options.coldStartWait)) return;
  m_board.confirm(std::max(steadyTime(m_lastGoodState.confirmed), m_lastGoodConfirmed));
  publish(std::move(m_lastGood));
  log(LogLevel::kWarning, "answers are from the last good state until the database has been loaded");
}

// What is not kept yet, and then when it was confirmed the last time.
void Engine::keepAtEnd(Time deadline) {
  if (!m_keeper) return;
  const auto waitForKeeper = [&] {
    while (m_keeper->hasTask() && !m_keeper->isDone() && Clock::now() < deadline)
      m_bell->waitUntil(deadline);
    if (m_keeper->hasTask() && !m_keeper->isDone()) m_keeper->stop();
    takeKept(Clock::now());
  };
  if (m_keeper->hasTask() && m_source == LiveSource::kNone) m_keeper->stop();
  waitForKeeper();
  m_nextKeep = Clock::now();
  beginKeeping(Clock::now());
  waitForKeeper();
}

}  // namespace zrlive
