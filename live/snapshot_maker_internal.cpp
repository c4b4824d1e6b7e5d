#include "live/snapshot_maker_internal.h"

#include <utility>

namespace zrlive {
namespace {

std::optional<std::string> doubtAbout(const char* what, std::uint64_t next, std::uint64_t present) {
  if (next >= present - present / 2) return std::nullopt;
  return "only " + std::to_string(next) + " of " + std::to_string(present) + " " + what + " are left";
}

}  // namespace

std::unique_ptr<const Snapshot> SnapshotMaker::make(std::shared_ptr<const zrhost::Snapshot> loaded,
                                                    SnapshotOrigin origin) {
  std::unique_ptr<Snapshot> snapshot(new Snapshot);
  snapshot->m_counts = countsOf(*loaded);
  snapshot->m_generation = loaded->generation();
  snapshot->m_inner = std::move(loaded);
  snapshot->m_epoch = std::move(origin.epoch);
  snapshot->m_revision = origin.revision;
  snapshot->m_source = origin.source;
  snapshot->m_loadTime = origin.loadTime;
  snapshot->m_loadedAt = std::chrono::system_clock::now();
  return snapshot;
}

SnapshotCounts countsOf(const zrhost::Snapshot& loaded) {
  const zrhost::LoadReport& report = loaded.report();
  SnapshotCounts counts;
  counts.policies = report.policies;
  counts.rules = report.rules;
  counts.linksByType = report.linksByType;
  counts.members = report.members;
  counts.refusedRows = report.refused;
  counts.hasDefaultPolicy = loaded.cache().m_defaultLink.m_pPolicy != nullptr;
  return counts;
}

std::optional<std::string> doubtAbout(const SnapshotCounts& next, const SnapshotCounts& present) {
  if (present.hasDefaultPolicy && !next.hasDefaultPolicy) return "the default policy is gone";
  if (auto doubt = doubtAbout("policies", next.policies, present.policies)) return doubt;
  return doubtAbout("links", next.links(), present.links());
}

}  // namespace zrlive
