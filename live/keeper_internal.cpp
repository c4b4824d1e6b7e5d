#include "live/keeper_internal.h"

#include <utility>

#include "live/live_error_internal.h"
#include "live/snapshot_rows_internal.h"

namespace zrlive {
namespace {

LastGoodState stateOf(const Snapshot& snapshot, std::chrono::system_clock::time_point confirmed) {
  LastGoodState state;
  state.epoch = snapshot.epoch();
  state.revision = snapshot.revision();
  state.confirmed = confirmed;
  state.counts = snapshot.counts();
  return state;
}

}  // namespace

Keeper::Keeper(const std::string& folder, const std::string& sqlDirectory, std::shared_ptr<Bell> bell, int nice)
    : m_parts(std::make_shared<Parts>(folder, sqlDirectory)), m_worker(std::move(bell), nice) {
  const auto& states = m_parts->file.states();
  if (!states.empty()) m_found = states.front();
}

Keeper::~Keeper() {
  stop();
}

template <typename Work>
void Keeper::begin(KeepOutcome::Task task, Work work, Worker::Haste haste) {
  m_outcome = std::make_shared<KeepOutcome>();
  m_outcome->task = task;
  const auto job = [parts = m_parts, outcome = m_outcome, work]() mutable {
    const auto begun = Clock::now();
    try {
      outcome->failure = failureOf([&] { work(*parts, *outcome); });
    } catch (const Pulse::Stopped&) {
      outcome->failure.emplace(LiveError::Kind::kInternal, "stopped");
    }
    outcome->time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begun);
  };
  m_worker.post(job, haste);
}

void Keeper::beginLoading() {
  begin(KeepOutcome::Task::kLoad,
        [](Parts& parts, KeepOutcome& outcome) { outcome.snapshot = parts.file.load(outcome.state, parts.pulse); });
}

void Keeper::beginReplacing(std::shared_ptr<const Snapshot> lease, std::chrono::system_clock::time_point confirmed) {
  const auto replace = [lease = std::move(lease), confirmed](Parts& parts, KeepOutcome& outcome) mutable {
    outcome.state = stateOf(*lease, confirmed);
    RowSpool rows(parts.file.folder());
    SnapshotRows(lease->inner()).read(rows);
    lease.reset();
    parts.file.replace(rows, outcome.state, parts.pulse);
  };
  begin(KeepOutcome::Task::kReplace, replace, Worker::Haste::kNone);
}

void Keeper::beginConfirming(const LastGoodState& state) {
  begin(KeepOutcome::Task::kConfirm, [state](Parts& parts, KeepOutcome& outcome) {
    parts.file.confirm(state.confirmed);
    outcome.state = state;
  });
}

KeepOutcome Keeper::take() {
  KeepOutcome outcome = std::move(*m_outcome);
  m_outcome.reset();
  return outcome;
}

}  // namespace zrlive
