#include "live/loader_internal.h"

#include <algorithm>
#include <utility>

#include "host/database/PolicyDatabase.h"
#include "live/heard_sink_internal.h"
#include "live/live_error_internal.h"

namespace zrlive {
namespace {

constexpr std::size_t kMostRefusedTold = 10;

// A stretch of time in which the database is waited for.
class Waiting {
 public:
  Waiting(Pulse& pulse, bool isConnecting) : m_pulse(pulse) {
    pulse.beat();
    pulse.beginWaiting(isConnecting);
  }
  ~Waiting() { m_pulse.endWaiting(); }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

 private:
  Pulse& m_pulse;
};

// The database as a source whose reading is watched; what is done with the rows afterwards is not.
class WatchedSource : public zrhost::RowSource {
 public:
  WatchedSource(zrhost::RowSource& source, Pulse& pulse) : m_source(source), m_pulse(pulse) {}
  zrhost::Revision read(zrhost::RowSink& sink) override {
    const Waiting waiting(m_pulse, false);
    HeardSink heard(sink, m_pulse);
    return m_source.read(heard);
  }

 private:
  zrhost::RowSource& m_source;
  Pulse& m_pulse;
};

}  // namespace

// What the thread owns.
struct Loader::Parts {
  explicit Parts(const zrhost::DatabaseOptions& wanted) : options(wanted) {}

  // Connects to what the options name now, unless that is done. A server tells what it holds by epoch and revision; a
  // file that may have been changed for a copy of itself, which was then written to, does not.
  bool connect() {
    const Waiting waiting(pulse, true);
    if (database && !database->isFileReplaced()) return false;
    database.reset();
    database.emplace(options);
    return std::exchange(hasConnected, true) && database->isFile();
  }

  void look(const LoadTask& task, LoadOutcome& outcome) {
    const Waiting waiting(pulse, false);
    outcome.revision = database->revision();
    pulse.beat();
    if (task.tellLag) outcome.standbyLag = database->standbyLag();
  }

  void load(LoadOutcome& outcome) {
    WatchedSource source(*database, pulse);
    zrhost::LoadOptions how;
    how.logs = false;
    how.indexLinks = true;
    how.keepLinkIds = true;  // for whoever asks why
    how.onRefused = [&outcome](const zrhost::RefusedRow& row) {
      if (outcome.refused.size() < kMostRefusedTold) outcome.refused.push_back(row.text());
    };
    outcome.snapshot = zrhost::Snapshot::load(source, how);
    outcome.revision = outcome.snapshot->report().revision;
  }

  void disconnect() {
    pulse.beginWaiting(false);
    database.reset();
    pulse.endWaiting();
  }

  const zrhost::DatabaseOptions options;
  Pulse pulse;
  std::optional<zrhost::PolicyDatabase> database;
  bool hasConnected = false;
};

Loader::Loader(const zrhost::DatabaseOptions& options, std::shared_ptr<Bell> bell, int nice)
    : m_parts(std::make_shared<Parts>(options)),
      m_worker(std::move(bell), nice),
      m_connectTime(std::chrono::seconds(options.connectTimeout)) {}

Loader::~Loader() {
  stop();
}

void Loader::begin(const LoadTask& task) {
  m_outcome = std::make_shared<LoadOutcome>();
  m_lastHeard = Clock::now();
  m_worker.post([parts = m_parts, outcome = m_outcome, task] { run(*parts, task, *outcome); }, task.haste);
}

void Loader::run(Parts& parts, const LoadTask& task, LoadOutcome& outcome) {
  outcome.begunAt = Clock::now();
  try {
    outcome.failure = failureOf([&] {
      outcome.isReplaced = parts.connect();
      parts.look(task, outcome);
      if (task.load) parts.load(outcome);
    });
    if (outcome.failure) parts.disconnect();
  } catch (const Pulse::Stopped&) {
    outcome.failure.emplace(LiveError::Kind::kInternal, "stopped");
  }
  outcome.time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - outcome.begunAt);
}

LoadOutcome Loader::take() {
  LoadOutcome outcome = std::move(*m_outcome);
  m_outcome.reset();
  return outcome;
}

Clock::duration Loader::silence(Clock::time_point now) {
  const Pulse& pulse = m_parts->pulse;
  const std::uint64_t beats = pulse.beats();
  if (beats != m_beatsSeen || !pulse.isWaiting()) {
    m_beatsSeen = beats;
    m_lastHeard = now;
  }
  const Clock::duration silence = now - m_lastHeard - (pulse.isConnecting() ? m_connectTime : Clock::duration::zero());
  return std::max(silence, Clock::duration::zero());
}

void Loader::stop() {
  m_parts->pulse.stop();
  m_worker.raise();
}

}  // namespace zrlive
