#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zrservice {

// How long answering took, in classes of which each is a quarter wider than the one before, from 250 ns on.
class Latency {
 public:
  static constexpr std::size_t kClasses = 96;

  void add(std::chrono::nanoseconds time);
  std::uint64_t countOf(std::size_t place) const { return m_counts[place].load(std::memory_order_relaxed); }
  std::chrono::nanoseconds sum() const { return std::chrono::nanoseconds(m_sum.load(std::memory_order_relaxed)); }
  std::chrono::nanoseconds longest() const {
    return std::chrono::nanoseconds(m_longest.load(std::memory_order_relaxed));
  }
  // The time that a class ends at.
  static double microsecondsOf(std::size_t place);

 private:
  std::array<std::atomic<std::uint64_t>, kClasses> m_counts{};
  std::atomic<std::uint64_t> m_sum{0}, m_longest{0};
};

// What one thread counts; read by any.
struct Counters {
  std::atomic<std::uint64_t> policyRequests{0}, socketmapRequests{0};
  std::atomic<std::uint64_t> badRequests{0};    // that are none, or over a limit
  std::atomic<std::uint64_t> ipv6Addresses{0};  // that were not asked for
  std::atomic<std::uint64_t> faultyActions{0};  // of policies, that cannot be sent
  std::atomic<std::uint64_t> timeOuts{0};       // connections closed for them
  std::atomic<std::uint64_t> connections{0};    // so far
  std::atomic<std::uint64_t> overLimit{0};      // of these, beyond max_connections
  Latency latency;

  void countAnswer(std::string_view action);
  std::map<std::string, std::uint64_t> answers() const;  // by first word

 private:
  static constexpr std::size_t kMostWords = 64;

  mutable std::mutex m_mutex;
  std::map<std::string, std::uint64_t, std::less<>> m_answers;
};

// The sums of all threads' counters, at one moment.
struct Totals {
  std::uint64_t policyRequests = 0, socketmapRequests = 0, badRequests = 0, ipv6Addresses = 0, faultyActions = 0,
                timeOuts = 0, connections = 0, overLimit = 0;
  std::map<std::string, std::uint64_t> answers;
  std::vector<std::uint64_t> latency = std::vector<std::uint64_t>(Latency::kClasses);
  double longestMicroseconds = 0, sumMicroseconds = 0;

  void add(const Counters& counters);
  // The time that so large a share of the answers did not take longer than.
  double quantileMicroseconds(double share) const;
};

}  // namespace zrservice
