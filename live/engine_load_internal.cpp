#include <algorithm>

#include "live/engine_internal.h"
#include "live/options_internal.h"
#include "live/snapshot_maker_internal.h"

namespace zrlive {
namespace {

constexpr auto kLagPause = std::chrono::seconds(5);

}  // namespace

// When the next task is due. What somebody wishes waits for no pause, but for the interval between loads.
Engine::Time Engine::taskTime() const {
  const Time loadTime = m_loadEnd + m_options.reloadInterval;
  if (m_board.wish().number != 0) return loadTime;
  return std::max(m_retryAt, m_isLoadDue ? loadTime : m_nextLook);
}

bool Engine::hasLoader() {
  if (m_loader) return true;
  if (m_standing.size() >= kMostStanding) return false;
  m_loader = std::make_unique<Loader>(databaseOf(m_options), m_bell, m_options.nice);
  return true;
}

// Not while an old snapshot is still being freed, or there would be three in memory.
void Engine::beginTask(Time now) {
  if ((m_loader && m_loader->hasTask()) || m_cleaner->isBusy() || now < taskTime() || !hasLoader()) return;
  m_taskWish = m_board.wish();
  // At the start a look comes first where it can tell that the last good state is as good as the database.
  const bool isFirst = m_source == LiveSource::kNone && !m_held && !m_kept;
  m_task = {m_isLoadDue || m_taskWish.number != 0 || isFirst, now >= m_nextLag, Worker::Haste::kOrdinary};
  // The first load is waited for, and so is one that somebody wishes.
  const bool isAwaited = m_source == LiveSource::kNone || m_taskWish.number != 0;
  if (m_task.load && !isAwaited && !m_hurries) m_task.haste = Worker::Haste::kNoneAtAll;
  if (m_task.tellLag) m_nextLag = now + kLagPause;
  m_board.change([this](LiveStatus& status) { status.isLoading = m_task.load; });
  m_loader->begin(m_task);
}

void Engine::takeOutcome(Time now) {
  if (!m_loader || !m_loader->isDone()) return;
  LoadOutcome outcome = m_loader->take();
  m_nextLook = now + jittered(m_options.poll);
  m_board.change([&](LiveStatus& status) {
    status.isLoading = false;
    if (!m_task.tellLag || outcome.failure) return;
    status.hasStandbyLag = outcome.standbyLag.has_value();
    status.standbyLag = outcome.standbyLag.value_or(std::chrono::milliseconds(0));
  });
  if (outcome.failure) return onFailure(now, *outcome.failure);
  m_task.load ? onLoaded(now, outcome) : onLooked(now, outcome);
}

void Engine::onFailure(Time now, const LiveError& failure) {
  m_pause = std::clamp<Clock::duration>(m_pause * 2, m_options.firstPause, m_options.longestPause);
  m_retryAt = now + jittered(m_pause);
  m_mayUseLastGood = true;
  m_board.change([&](LiveStatus& status) {
    status.lastError = failure.what();
    ++status.failuresInARow;
    if (m_task.load) ++status.loadsFailed;
  });
  log(LogLevel::kError, failure.what());
  m_board.fulfil(m_taskWish, LivePolicies::Reload::kFailed);
}

void Engine::onLooked(Time now, const LoadOutcome& outcome) {
  const bool isHeld = m_held && *m_held == outcome.revision;
  const bool isLent = m_epoch == outcome.revision.epoch && m_revision == outcome.revision.revision;
  if (isLent) m_board.confirm(outcome.begunAt);
  if (m_kept && m_kept->isSameContent(outcome.revision.epoch, outcome.revision.revision)) {
    m_mayUseLastGood = true;
    m_lastGoodConfirmed = outcome.begunAt;
  }
  m_isLoadDue = outcome.isReplaced || !(isHeld || (isLent && m_source == LiveSource::kDatabase));
  if (m_isLoadDue) return;
  if (isLent) m_held.reset();  // what was held back has been undone
  onCurrent(now);
}

void Engine::onLoaded(Time now, LoadOutcome& outcome) {
  m_loadEnd = now;
  m_isLoadDue = m_hurries = false;
  for (const std::string& row : outcome.refused)
    log(LogLevel::kWarning, "left out: " + row);
  if (const auto refused = outcome.snapshot->report().refused; refused > outcome.refused.size()) {
    log(LogLevel::kWarning, std::to_string(refused) + " rows were left out in all");
  }
  const auto doubt = m_taskWish.accept ? std::nullopt : doubtAboutLoaded(outcome);
  if (doubt) return holdBack(now, outcome, *doubt);
  m_held.reset();
  m_lastGood.reset();
  m_board.confirm(outcome.begunAt);
  onCurrent(now);
  publish(SnapshotMaker::make(std::move(outcome.snapshot), {LiveSource::kDatabase, outcome.revision.epoch,
                                                            outcome.revision.revision, outcome.time}));
  m_board.fulfil(m_taskWish, LivePolicies::Reload::kLoaded);
}

// Before there is a snapshot, the last good state tells what there was; one that cannot be used tells nothing.
std::optional<std::string> Engine::doubtAboutLoaded(const LoadOutcome& outcome) const {
  const SnapshotCounts counts = countsOf(*outcome.snapshot);
  if (m_source != LiveSource::kNone) return doubtAbout(counts, m_counts);
  return m_kept ? doubtAbout(counts, m_kept->counts) : std::nullopt;
}

void Engine::holdBack(Time now, const LoadOutcome& outcome, const std::string& why) {
  m_held = outcome.revision;
  m_mayUseLastGood = true;
  const std::string text = "revision " + std::to_string(outcome.revision.revision) + " is held back: " + why;
  log(LogLevel::kWarning, text + "; reload with accept to answer from it");
  m_board.change([&](LiveStatus& status) {
    ++status.loadsHeldBack;
    status.heldReason = why;
  });
  onCurrent(now);
  m_board.fulfil(m_taskWish, LivePolicies::Reload::kHeldBack);
}

// The database has answered, and nothing is left to do.
void Engine::onCurrent(Time now) {
  if (m_pause != Clock::duration::zero()) log(LogLevel::kInfo, "the database answers again");
  m_pause = Clock::duration::zero();
  m_retryAt = now;
  m_board.change([this](LiveStatus& status) {
    status.lastError.clear();
    status.failuresInARow = 0;
    status.isHeldBack = m_held.has_value();
    status.heldRevision = m_held ? m_held->revision : 0;
    if (!m_held) status.heldReason.clear();
  });
}

void Engine::leaveLoaderStanding() {
  m_loader->stop();
  m_standing.push_back(std::move(m_loader));
  m_board.change([this](LiveStatus& status) {
    status.isLoading = false;
    status.loadersStanding = static_cast<unsigned>(m_standing.size());
  });
}

void Engine::giveUpSilentLoader(Time now) {
  if (!m_loader || !m_loader->hasTask() || m_loader->isDone()) return;
  if (m_loader->silence(now) <= m_options.readTimeout) return;
  leaveLoaderStanding();
  onFailure(now, {LiveError::Kind::kUnreachable, silenceText(m_options)});
}

// It ends by itself, with the next row. The task is as due as before.
void Engine::giveUpStarvedLoader() {
  if (!m_loader->hasTask() || m_loader->isDone()) return;
  log(LogLevel::kInfo, "the load gets no time of a processor, and begins anew, more urgent");
  m_hurries = true;
  leaveLoaderStanding();
}

void Engine::endStandingLoaders() {
  const auto gone = std::erase_if(m_standing, [](const auto& loader) { return !loader->isBusy(); });
  if (gone == 0) return;
  m_board.change([this](LiveStatus& status) { status.loadersStanding = static_cast<unsigned>(m_standing.size()); });
}

// Give or take a tenth, so that many machines do not ask one server all at once.
Clock::duration Engine::jittered(Clock::duration pause) {
  return pause / 1000 * std::uniform_int_distribution<int>(900, 1100)(m_random);
}

}  // namespace zrlive
