#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zrservice {

// Adds to a number that no other thread adds to: what others read costs no locked operation.
inline void addAlone(std::atomic<std::uint64_t>& number, std::uint64_t more = 1) {
  number.store(number.load(std::memory_order_relaxed) + more, std::memory_order_relaxed);
}

// How long answering took, in classes: eight to each doubling, so that a class is at most an eighth wide. Added to by
// one thread.
class Latency {
 public:
  static constexpr std::size_t kPerDoubling = 8;
  static constexpr std::size_t kClasses = 32 * kPerDoubling;  // up to half a minute

  void add(std::chrono::nanoseconds time);
  std::uint64_t countOf(std::size_t place) const { return m_counts[place].load(std::memory_order_relaxed); }
  std::chrono::nanoseconds sum() const { return std::chrono::nanoseconds(m_sum.load(std::memory_order_relaxed)); }
  std::chrono::nanoseconds longest() const {
    return std::chrono::nanoseconds(m_longest.load(std::memory_order_relaxed));
  }
  static std::size_t classOf(std::uint64_t nanoseconds);
  // The least time that is beyond a class.
  static std::uint64_t endOf(std::size_t place);

 private:
  std::array<std::atomic<std::uint64_t>, kClasses> m_counts{};
  std::atomic<std::uint64_t> m_sum{0}, m_longest{0};
};

// Answers by their first word, of those that Postfix knows; replies by number count as "4xx" and "5xx", everything else
// as "other": whoever writes the policies may write anything. Added to by one thread.
class AnswerWords {
 public:
  static constexpr std::size_t kWords = 21;

  void add(std::string_view reply) { addAlone(m_counts[placeOf(reply)]); }
  static std::string_view word(std::size_t place);
  std::uint64_t countOf(std::size_t place) const { return m_counts[place].load(std::memory_order_relaxed); }

 private:
  static std::size_t placeOf(std::string_view reply);

  std::array<std::atomic<std::uint64_t>, kWords> m_counts{};
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
  AnswerWords answers;
};

// The sums of all threads' counters, at one moment.
struct Totals {
  std::uint64_t policyRequests = 0, socketmapRequests = 0, badRequests = 0, ipv6Addresses = 0, faultyActions = 0,
                timeOuts = 0, connections = 0, overLimit = 0;
  std::map<std::string, std::uint64_t> answers;  // those that there were
  std::vector<std::uint64_t> latency = std::vector<std::uint64_t>(Latency::kClasses);
  double longestMicroseconds = 0, sumMicroseconds = 0;

  void add(const Counters& counters);
  // The time that so large a share of the answers did not take longer than.
  double quantileMicroseconds(double share) const;
};

}  // namespace zrservice
