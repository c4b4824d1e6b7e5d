#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "host/load/Snapshot.h"
#include "live/Snapshot.h"

namespace zrlive {

// What a snapshot is said to be, beyond what was loaded.
struct SnapshotOrigin {
  LiveSource source;
  std::string epoch;
  std::int64_t revision;
  std::chrono::milliseconds loadTime;
};

class SnapshotMaker {
 public:
  static std::unique_ptr<const Snapshot> make(std::shared_ptr<const zrhost::Snapshot> loaded, SnapshotOrigin origin);
};

SnapshotCounts countsOf(const zrhost::Snapshot& loaded);

// Why a state of these counts is held back where one of those is there already; nothing when it is not.
std::optional<std::string> doubtAbout(const SnapshotCounts& next, const SnapshotCounts& present);

}  // namespace zrlive
