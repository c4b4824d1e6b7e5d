#include "host/load/Snapshot.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstddef>
#include <memory_resource>
#include <new>

#include "host/base/HostError.h"
#include "host/load/CacheSink.h"
#include "host/load/search_key.h"
#include "policy/ZrPolicyResultSet.h"
#include "support/PolicyLog.h"

namespace zrhost {
namespace {

constexpr std::uint64_t kMostLogged = 10;
// From here on, the time that it takes to arrange ranges in the best way comes back with the questions.
constexpr std::uint64_t kManyRanges = 100;

std::uint32_t nextGeneration() {
  static std::atomic<std::uint32_t> last{0};
  std::uint32_t generation = ++last;
  while (generation == 0)
    generation = ++last;
  return generation;
}

// The library's lookups take keys as char* and do not change them.
char* asKey(const char* key) {
  return const_cast<char*>(key);
}

// The options, with the first refused rows logged as well.
LoadOptions logging(const LoadOptions& options, const LoadReport& report) {
  LoadOptions logged = options;
  logged.onRefused = [&options, &report](const RefusedRow& row) {
    if (options.logs && report.refused <= kMostLogged)
      PolicyLog::log(PolicyLog::LEVEL_WARNING, "left out: %s\n", row.text().c_str());
    if (options.onRefused) options.onRefused(row);
  };
  return logged;
}

void logLoaded(const LoadReport& report, std::chrono::steady_clock::duration time) {
  if (report.refused > kMostLogged) {
    PolicyLog::log(PolicyLog::LEVEL_WARNING, "%" PRIu64 " rows were left out in all\n", report.refused);
  }
  PolicyLog::log(PolicyLog::LEVEL_INFO,
                 "loaded revision %" PRId64 ": %" PRIu64 " policies, %" PRIu64 " rules, %" PRIu64 " links, %" PRIu64
                 " members in %lld ms\n",
                 report.revision.revision, report.policies, report.rules, report.links(), report.members,
                 static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count()));
}

}  // namespace

std::shared_ptr<const Snapshot> Snapshot::load(RowSource& source, const LoadOptions& options) {
  const auto start = std::chrono::steady_clock::now();
  const std::shared_ptr<Snapshot> snapshot(new Snapshot);
  snapshot->fill(source, options);
  if (options.logs) logLoaded(snapshot->m_report, std::chrono::steady_clock::now() - start);
  return snapshot;
}

void Snapshot::fill(RowSource& source, const LoadOptions& options) {
  try {
    const LoadOptions logged = logging(options, m_report);
    CacheSink sink(m_cache, m_members, logged, m_report);
    m_report.revision = source.read(sink);
    m_members.finish();
    if (m_report.linksByType[ZrPolicyCache::IP_RANGE] >= kManyRanges) m_cache.reindex();
    if (options.indexLinks) m_index = std::make_unique<const LinkIndex>(m_cache, m_members);
    m_cache.m_generation = nextGeneration();
  } catch (const std::bad_alloc&) {
    throw HostError(ErrorKind::kInternal, "out of memory after " + std::to_string(m_report.policies) + " policies, " +
                                              std::to_string(m_report.links()) + " links and " +
                                              std::to_string(m_report.members) + " members");
  }
}

std::string Snapshot::searched(ZrPolicyCache::EntityType type, std::string key) {
  makeSearchKey(type, key.data(), key.size());
  return key;
}

GroupMembers::Groups Snapshot::groupsOf(std::string_view user) const {
  std::array<std::byte, 512> room;  // enough for ordinary names
  std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
  std::pmr::string key(user, &memory);
  makeSearchKey(ZrPolicyCache::USER, key.data(), key.size());
  return m_members.groupsOf(key);
}

void Snapshot::bind(ZrPolicyResultSet& results) const {
  results.setRefInfo(&m_cache, m_cache.m_generation);
}

void Snapshot::lookUp(ZrPolicyCache::EntityType type, const char* key, ZrPolicyResultSet& results) const {
  m_cache.lookupPolicy(type, asKey(key), &results);
}

void Snapshot::lookUpRanges(const char* address, ZrPolicyResultSet& results) const {
  m_cache.lookupPolicyIpRange(asKey(address), &results);
}

void Snapshot::lookUpAll(ZrPolicyResultSet& results) const {
  m_cache.lookupAllPolicy(&results);
}

void Snapshot::lookUpDefault(ZrPolicyResultSet& results) const {
  m_cache.getDefaultPolicy(&results);
}

}  // namespace zrhost
