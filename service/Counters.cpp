#include "service/Counters.h"

#include <algorithm>
#include <cmath>

namespace zrservice {
namespace {

constexpr double kFirstClass = 250;  // ns
constexpr double kGrowth = 1.25;

}  // namespace

void Latency::add(std::chrono::nanoseconds time) {
  const auto nanoseconds = static_cast<double>(time.count());
  const double place =
      nanoseconds <= kFirstClass ? 0 : std::ceil(std::log(nanoseconds / kFirstClass) / std::log(kGrowth));
  const auto at = std::min(static_cast<std::size_t>(place), kClasses - 1);
  m_counts[at].fetch_add(1, std::memory_order_relaxed);
  const auto count = static_cast<std::uint64_t>(time.count());
  m_sum.fetch_add(count, std::memory_order_relaxed);
  if (count > m_longest.load(std::memory_order_relaxed)) m_longest.store(count, std::memory_order_relaxed);
}

double Latency::microsecondsOf(std::size_t place) {
  return kFirstClass * std::pow(kGrowth, static_cast<double>(place)) / 1000;
}

void Counters::countAnswer(std::string_view action) {
  const std::string_view word = action.substr(0, action.find_first_of(" \t"));
  const std::lock_guard lock(m_mutex);
  auto found = m_answers.find(word);
  // Whoever writes the policies may write anything: what is counted stays bounded.
  if (found == m_answers.end())
    found = m_answers.try_emplace(m_answers.size() < kMostWords ? std::string(word) : "other").first;
  ++found->second;
}

std::map<std::string, std::uint64_t> Counters::answers() const {
  const std::lock_guard lock(m_mutex);
  return {m_answers.begin(), m_answers.end()};
}

void Totals::add(const Counters& counters) {
  policyRequests += counters.policyRequests;
  socketmapRequests += counters.socketmapRequests;
  badRequests += counters.badRequests;
  ipv6Addresses += counters.ipv6Addresses;
  faultyActions += counters.faultyActions;
  timeOuts += counters.timeOuts;
  connections += counters.connections;
  overLimit += counters.overLimit;
  for (const auto& [word, count] : counters.answers())
    answers[word] += count;
  for (std::size_t i = 0; i < latency.size(); ++i)
    latency[i] += counters.latency.countOf(i);
  sumMicroseconds += static_cast<double>(counters.latency.sum().count()) / 1000;
  longestMicroseconds = std::max(longestMicroseconds, static_cast<double>(counters.latency.longest().count()) / 1000);
}

double Totals::quantileMicroseconds(double share) const {
  std::uint64_t all = 0;
  for (const std::uint64_t count : latency)
    all += count;
  const auto wanted = static_cast<std::uint64_t>(std::ceil(static_cast<double>(all) * share));
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < latency.size() && all > 0; ++i) {
    seen += latency[i];
    if (seen >= wanted) return std::min(Latency::microsecondsOf(i), longestMicroseconds);
  }
  return 0;
}

}  // namespace zrservice
