#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/DatabaseOptions.h"
#include "host/load/Snapshot.h"
#include "host/rows/Rows.h"
#include "live/LiveError.h"
#include "live/pulse_internal.h"
#include "live/worker_internal.h"

namespace zrlive {

// What a loader was asked to do.
struct LoadTask {
  bool load = false;  // all of it, and not just the revision
  bool tellLag = false;
  Worker::Haste haste = Worker::Haste::kOrdinary;
};

// What came of it. Without a failure there is a revision, and a snapshot when one was to be loaded.
struct LoadOutcome {
  std::optional<LiveError> failure;
  zrhost::Revision revision;
  bool isReplaced = false;  // it may be another file than before, so that its revision says nothing
  std::optional<std::chrono::milliseconds> standbyLag;
  std::shared_ptr<const zrhost::Snapshot> snapshot;
  std::vector<std::string> refused;  // the first rows that were left out
  Clock::time_point begunAt;         // before the database was asked: what it says holds since then at least
  std::chrono::milliseconds time{0};
};

// A thread with a connection to the database of its own, which looks at the revision and loads. One at a time: a task
// is begun when the one before has been taken. Every failure makes it connect anew.
class Loader {
 public:
  Loader(const zrhost::DatabaseOptions& options, std::shared_ptr<Bell> bell, int nice);
  // Leaves the thread standing when a driver has it.
  ~Loader();
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;

  void begin(const LoadTask& task);
  // Whether a task was begun whose outcome has not been taken.
  bool hasTask() const { return m_outcome != nullptr; }
  bool isDone() const { return hasTask() && !m_worker.isBusy(); }
  bool isBusy() const { return m_worker.isBusy(); }
  LoadOutcome take();

  // For how long it has been waiting for the database without a word, but for the time that connecting may take. To be
  // called now and then: silence counts from the first call that finds no change.
  Clock::duration silence(Clock::time_point now);
  // Answers true when its task is to be given up, and begun anew by another.
  bool raiseIfStarved() noexcept { return m_worker.raiseIfStarved(); }
  // Makes it end its task as soon as the database says something.
  void stop();

 private:
  struct Parts;
  static void run(Parts& parts, const LoadTask& task, LoadOutcome& outcome);

  std::shared_ptr<Parts> m_parts;
  Worker m_worker;
  std::shared_ptr<LoadOutcome> m_outcome;
  std::uint64_t m_beatsSeen = 0;
  Clock::time_point m_lastHeard;
  Clock::duration m_connectTime;
};

}  // namespace zrlive
