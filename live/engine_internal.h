#pragma once

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "host/rows/Rows.h"
#include "live/LivePolicies.h"
#include "live/keeper_internal.h"
#include "live/lease_slots_internal.h"
#include "live/loader_internal.h"
#include "live/status_board_internal.h"

namespace zrlive {

// What keeps a snapshot current: one thread that decides, and never waits for a database or a disk itself. A loader and
// the keeper, threads of their own, do the work, and the cleaner frees what nobody holds any more; the engine begins
// their tasks, takes what came of them, sees that they get on, and gives up a loader that hears nothing.
//
// Threads: start, stop and destruction by one; lease, board and wake by any.
class Engine {
 public:
  // Of checked options.
  explicit Engine(LiveOptions options);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  void start();
  void stop(std::chrono::milliseconds limit) noexcept;

  std::shared_ptr<const Snapshot> lease() const noexcept { return m_slots.lease(); }
  StatusBoard& board() { return m_board; }
  void wake() { m_bell->ring(); }

 private:
  using Time = Clock::time_point;

  // The thread (engine_internal.cpp).
  void run();
  void step(Time now);
  Time nextStep(Time now) const;
  void beginCleaning();
  void raiseStarved();
  void giveUpStarvedLoader();
  void leaveLoaderStanding();
  void finish();
  void log(LogLevel level, const std::string& text) const;
  void publish(std::unique_ptr<const Snapshot> snapshot);

  // The database (engine_load_internal.cpp).
  void beginTask(Time now);
  void takeOutcome(Time now);
  void onFailure(Time now, const LiveError& failure);
  void onLooked(Time now, const LoadOutcome& outcome);
  void onLoaded(Time now, LoadOutcome& outcome);
  void holdBack(Time now, const LoadOutcome& outcome, const std::string& why);
  void onCurrent(Time now);
  void giveUpSilentLoader(Time now);
  void endStandingLoaders();
  bool hasLoader();
  Time taskTime() const;
  std::optional<std::string> doubtAboutLoaded(const LoadOutcome& outcome) const;
  Clock::duration jittered(Clock::duration pause);

  // The last good state (engine_keep_internal.cpp).
  void beginKeeping(Time now);
  void takeKept(Time now);
  void onKept(Time now, KeepOutcome& outcome);
  void onLastGoodLoaded(KeepOutcome& outcome);
  void answerFromLastGood(Time now);
  void keepAtEnd(Time deadline);
  bool isKept() const;
  std::chrono::system_clock::time_point confirmedAt() const;

  static constexpr std::size_t kMostStanding = 3;

  const LiveOptions m_options;
  StatusBoard m_board;
  LeaseSlots m_slots;
  const std::shared_ptr<Bell> m_bell;
  std::thread m_thread;
  std::atomic<bool> m_isStopping{false};
  std::chrono::milliseconds m_stopLimit{0};

  // Below this the thread's own.
  std::unique_ptr<Loader> m_loader;
  std::vector<std::unique_ptr<Loader>> m_standing;
  LoadTask m_task;             // that the loader is at
  ReloadWish m_taskWish;       // that the task fulfils
  bool m_hurries = false;      // a load got no processor
  bool m_isLoadDue = false;    // the database has something else than what is lent
  Time m_nextLook, m_nextLag;  // earliest
  Time m_retryAt;              // no attempt earlier, unless somebody wishes it
  Time m_loadEnd;              // of the last load
  Clock::duration m_pause{0};  // after the last failure; 0 without one
  std::minstd_rand m_random;
  std::optional<zrhost::Revision> m_held;

  std::unique_ptr<Worker> m_cleaner;

  // What is lent.
  LiveSource m_source = LiveSource::kNone;
  std::string m_epoch;
  std::int64_t m_revision = 0;
  SnapshotCounts m_counts;

  // The last good state.
  std::unique_ptr<Keeper> m_keeper;
  std::optional<LastGoodState> m_kept;  // what the folder holds
  Time m_startedAt, m_nextKeep;
  bool m_mayUseLastGood = false;  // the database has had its chance
  std::unique_ptr<const Snapshot> m_lastGood;
  LastGoodState m_lastGoodState;
  Time m_lastGoodConfirmed;  // by the database, since the start
};

}  // namespace zrlive
