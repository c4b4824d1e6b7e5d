#pragma once

#include <memory>
#include <optional>

#include "live/LiveError.h"
#include "live/Snapshot.h"
#include "live/last_good_file_internal.h"
#include "live/worker_internal.h"

namespace zrlive {

// What came of a task of the keeper.
struct KeepOutcome {
  enum class Task { kLoad, kReplace, kConfirm };
  Task task;
  std::optional<LiveError> failure;
  LastGoodState state;  // that was loaded, or is kept now
  std::shared_ptr<const zrhost::Snapshot> snapshot;
  std::chrono::milliseconds time{0};
};

// A thread that keeps the last good state, and loads it. One task at a time.
class Keeper {
 public:
  // Throws as LastGoodFile does.
  Keeper(const std::string& folder, const std::string& sqlDirectory, std::shared_ptr<Bell> bell, int nice);
  ~Keeper();
  Keeper(const Keeper&) = delete;
  Keeper& operator=(const Keeper&) = delete;

  // What the folder held at the start; of two states the newer one.
  const std::optional<LastGoodState>& found() const { return m_found; }

  // Whether it held a database, and be it one that nothing is said about.
  bool hasDatabase() const { return m_parts->file.hasDatabase(); }

  void beginLoading();
  // The lease is let go as soon as its rows are noted.
  void beginReplacing(std::shared_ptr<const Snapshot> lease, std::chrono::system_clock::time_point confirmed);
  void beginConfirming(const LastGoodState& state);
  bool hasTask() const { return m_outcome != nullptr; }
  void raiseIfStarved() noexcept { m_worker.raiseIfStarved(); }
  void raise() noexcept { m_worker.raise(); }
  bool isDone() const { return hasTask() && !m_worker.isBusy(); }
  KeepOutcome take();
  // Makes it end its task soon.
  void stop() { m_parts->pulse.stop(); }

 private:
  struct Parts {
    Parts(const std::string& folder, const std::string& sqlDirectory) : file(folder, sqlDirectory) {}
    LastGoodFile file;
    Pulse pulse;
  };
  template <typename Work>
  void begin(KeepOutcome::Task task, Work work, Worker::Haste haste = Worker::Haste::kOrdinary);

  std::shared_ptr<Parts> m_parts;
  std::optional<LastGoodState> m_found;
  Worker m_worker;
  std::shared_ptr<KeepOutcome> m_outcome;
};

}  // namespace zrlive
