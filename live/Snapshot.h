#ifndef ZR_LIVE_SNAPSHOT_H
#define ZR_LIVE_SNAPSHOT_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "live/Answer.h"
#include "live/LiveStatus.h"
#include "live/Question.h"
#include "support/export.h"

namespace zrhost {
class Snapshot;
}

namespace zrlive {

// One loaded state of the policies, which never changes. LivePolicies makes and lends it.
//
// Threads: any number at once, each with a question and an answer of its own.
class ZR_EXPORT Snapshot {
 public:
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;
  ~Snapshot();

  // Answers what the command `zrpolicy lookup` answers for the same state and parts in the same order (members() is its
  // --with-groups). `answer` is emptied first. Throws std::bad_alloc, and nothing else; the answer is empty then.
  void ask(const Question& question, Answer& answer) const;

  // The state of the database that was read.
  const std::string& epoch() const { return m_epoch; }
  std::int64_t revision() const { return m_revision; }
  // A number that no other snapshot of this process has; never 0.
  std::uint32_t generation() const { return m_generation; }
  LiveSource source() const { return m_source; }
  const SnapshotCounts& counts() const { return m_counts; }
  std::chrono::system_clock::time_point loadedAt() const { return m_loadedAt; }
  std::chrono::milliseconds loadTime() const { return m_loadTime; }

  // For programs that are built together with this library, which explain answers with the rooms of host/.
  const zrhost::Snapshot& inner() const { return *m_inner; }

 private:
  friend class SnapshotMaker;
  Snapshot() = default;

  std::shared_ptr<const zrhost::Snapshot> m_inner;
  std::string m_epoch;
  std::int64_t m_revision = 0;
  std::uint32_t m_generation = 0;
  LiveSource m_source = LiveSource::kNone;
  SnapshotCounts m_counts;
  std::chrono::system_clock::time_point m_loadedAt;
  std::chrono::milliseconds m_loadTime{0};
};

}  // namespace zrlive

#endif  // ZR_LIVE_SNAPSHOT_H
