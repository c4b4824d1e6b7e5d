#include "live/engine_internal.h"

#include <algorithm>
#include <utility>

#include "host/base/quiet_thread.h"
#include "host/base/terminal_text.h"
#include "live/options_internal.h"
#include "support/PolicyLog.h"

namespace zrlive {

Engine::Engine(LiveOptions options)
    : m_options(std::move(options)),
      m_board(m_options.maxAge),
      m_bell(std::make_shared<Bell>()),
      m_random(std::random_device()()) {}

Engine::~Engine() {
  stop(std::chrono::seconds(10));
}

void Engine::start() {
  if (!m_options.stateFolder.empty()) {
    m_keeper = std::make_unique<Keeper>(m_options.stateFolder, m_options.sqlDirectory, m_bell, m_options.nice);
    m_kept = m_keeper->found();
    if (m_kept || m_keeper->hasDatabase()) m_keeper->beginLoading();  // which says why it cannot
  }
  m_cleaner = std::make_unique<Worker>(m_bell, m_options.nice);
  m_startedAt = m_nextLook = m_nextKeep = Clock::now();
  m_loadEnd = m_startedAt - m_options.reloadInterval;
  m_thread = zrhost::quietThread([this] { run(); });
}

void Engine::stop(std::chrono::milliseconds limit) noexcept {
  if (!m_thread.joinable()) return;
  m_stopLimit = std::min(limit, kLongestWait);
  m_isStopping = true;
  wake();
  m_thread.join();
}

void Engine::run() {
  while (!m_isStopping) {
    const Time now = Clock::now();
    try {
      step(now);
    } catch (const std::exception& error) {  // want of memory or threads, which passes
      log(LogLevel::kError, error.what());
      m_retryAt = now + m_options.firstPause;
    }
    m_bell->waitUntil(nextStep(Clock::now()));
  }
  finish();
}

void Engine::step(Time now) {
  raiseStarved();
  takeKept(now);
  takeOutcome(now);
  giveUpSilentLoader(now);
  endStandingLoaders();
  answerFromLastGood(now);
  beginCleaning();  // of what has just been replaced, too, before a task asks whether it goes on
  beginTask(now);
  beginKeeping(now);
}

// Freeing a large snapshot takes a while, in which the engine has other things to do.
void Engine::beginCleaning() {
  if (m_slots.hasRetired() && !m_cleaner->isBusy()) m_cleaner->post(m_slots.drainer(), Worker::Haste::kNone);
}

void Engine::raiseStarved() {
  if (m_loader && m_loader->raiseIfStarved()) giveUpStarvedLoader();
  if (m_keeper) m_keeper->raiseIfStarved();
  m_cleaner->raiseIfStarved();
}

// The least of what there is to be looked at; whatever ends earlier rings.
Engine::Time Engine::nextStep(Time now) const {
  constexpr Clock::duration kLongest = std::chrono::seconds(1), kShortest = std::chrono::milliseconds(1);
  Time next = now + kLongest;
  if (m_loader && m_loader->hasTask()) {
    next = std::min<Time>(next, now + m_options.readTimeout / 16);
  } else if (!m_cleaner->isBusy() && (m_loader || m_standing.size() < kMostStanding)) {
    next = std::min(next, taskTime());
  }
  if (m_lastGood) next = std::min<Time>(next, m_startedAt + m_options.coldStartWait);
  if (m_keeper && !m_keeper->hasTask() && m_nextKeep > now) next = std::min(next, m_nextKeep);
  return std::max(next, now + kShortest);
}

// A loader that waits for nobody ends at the next row, and is waited for, so that its connection is closed in order.
void Engine::finish() {
  const Time deadline = Clock::now() + m_stopLimit;
  const Time patience = std::min<Time>(deadline, Clock::now() + std::chrono::seconds(2));
  if (m_loader) m_loader->stop();
  if (m_keeper) m_keeper->raise();
  m_cleaner->raise();
  try {
    keepAtEnd(deadline);
  } catch (const std::exception& error) {
    log(LogLevel::kError, std::string("the last good state is not kept: ") + error.what());
  }
  while (((m_loader && m_loader->isBusy()) || m_cleaner->isBusy()) && Clock::now() < patience)
    m_bell->waitUntil(patience);
  m_loader.reset();
  m_standing.clear();
  m_keeper.reset();
  m_cleaner.reset();
  m_lastGood.reset();
  m_slots.close();
}

void Engine::log(LogLevel level, const std::string& text) const {
  const std::string line = zrhost::oneLine(text);
  if (m_options.log) return m_options.log(level, line);
  PolicyLog::log(static_cast<PolicyLog::LogLevel>(level), "%s\n", line.c_str());
}

void Engine::publish(std::unique_ptr<const Snapshot> snapshot) {
  m_source = snapshot->source();
  m_epoch = snapshot->epoch();
  m_revision = snapshot->revision();
  m_counts = snapshot->counts();
  m_slots.publish(std::move(snapshot));
  const auto lease = m_slots.lease();
  m_board.show(*lease);
  log(LogLevel::kInfo, "answers from revision " + std::to_string(m_revision) + " of " +
                           (m_source == LiveSource::kDatabase ? "the database: " : "the last good state: ") +
                           std::to_string(m_counts.policies) + " policies, " + std::to_string(m_counts.rules) +
                           " rules, " + std::to_string(m_counts.links()) + " links, " +
                           std::to_string(m_counts.members) + " members, loaded in " +
                           std::to_string(lease->loadTime().count()) + " ms");
}

}  // namespace zrlive
