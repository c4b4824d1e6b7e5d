#ifndef ZR_LIVE_LIVESTATUS_H
#define ZR_LIVE_LIVESTATUS_H

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

#include "support/export.h"

namespace zrlive {

enum class LiveState {
  kUnavailable,  // there is no snapshot
  kStale,        // there is one, older than maxAge
  kReady,
};
enum class LiveSource { kNone, kDatabase, kLastGood };

// "unavailable", "stale", "ready"; "none", "database", "last_good".
ZR_EXPORT const char* nameOf(LiveState state);
ZR_EXPORT const char* nameOf(LiveSource source);

// What a snapshot holds. The numbers count what was taken.
struct SnapshotCounts {
  std::uint64_t policies = 0;
  std::uint64_t rules = 0;
  std::array<std::uint64_t, 7> linksByType{};  // by EntityType (live/Answer.h); none has the type kDefault
  std::uint64_t members = 0;
  std::uint64_t refusedRows = 0;  // rows that cannot be used and were left out
  bool hasDefaultPolicy = false;

  std::uint64_t links() const {
    std::uint64_t sum = 0;
    for (const std::uint64_t count : linksByType)
      sum += count;
    return sum;
  }
};

// How LivePolicies stands, as plain values. Epoch, revision, generation, loadedAt and counts are those of the snapshot
// that is lent now; without one they are empty or 0.
struct LiveStatus {
  LiveState state = LiveState::kUnavailable;
  LiveSource source = LiveSource::kNone;

  std::string epoch;
  std::int64_t revision = 0;
  std::uint32_t generation = 0;
  std::chrono::system_clock::time_point loadedAt;
  std::chrono::milliseconds loadTime{0};  // what the load took
  SnapshotCounts counts;

  // Since the database last confirmed that the snapshot's content is its own, restarts of the process included.
  std::chrono::milliseconds age{0};
  bool hasAge = false;  // false while nothing has been confirmed

  std::string lastError;  // of the attempt that failed last; empty once the database has answered again
  std::uint64_t failuresInARow = 0;

  bool isHeldBack = false;  // a new state waits for reload(true) or for becoming sound
  std::int64_t heldRevision = 0;
  std::string heldReason;

  unsigned loadersStanding = 0;  // given up, since a server says nothing; at most 3
  bool isLoading = false;

  bool hasStandbyLag = false;  // where a server that is a standby tells it
  std::chrono::milliseconds standbyLag{0};

  // Of the last good state in the state folder.
  bool hasKept = false;
  std::string keptEpoch;
  std::int64_t keptRevision = 0;
  std::string keepError;  // why it could not be kept the last time; empty when it could

  // Since the start.
  std::uint64_t loadsDone = 0;  // new snapshots that were lent
  std::uint64_t loadsFailed = 0;
  std::uint64_t loadsHeldBack = 0;
};

}  // namespace zrlive

#endif  // ZR_LIVE_LIVESTATUS_H
