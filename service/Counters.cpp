#include "service/Counters.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <strings.h>

namespace zrservice {
namespace {

constexpr std::string_view kWordsOfPostfix[] = {"DUNNO",
                                                "OK",
                                                "REJECT",
                                                "DEFER_IF_PERMIT",
                                                "DEFER_IF_REJECT",
                                                "DEFER",
                                                "PREPEND",
                                                "HOLD",
                                                "WARN",
                                                "DISCARD",
                                                "FILTER",
                                                "REDIRECT",
                                                "BCC",
                                                "INFO",
                                                "PERMIT",
                                                "NOTFOUND",
                                                "TEMP",
                                                "PERM",
                                                "4xx",
                                                "5xx",
                                                "other"};
constexpr std::size_t kNumbers = AnswerWords::kWords - 3;  // where 4xx stands
static_assert(std::size(kWordsOfPostfix) == AnswerWords::kWords);

bool isSame(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool isReplyNumber(std::string_view word) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  return word.size() == 3 && (word[0] == '4' || word[0] == '5') && isDigit(word[1]) && isDigit(word[2]);
}

}  // namespace

// The three bits behind the highest one tell the class within its doubling.
std::size_t Latency::classOf(std::uint64_t nanoseconds) {
  constexpr unsigned kBits = std::bit_width(kPerDoubling) - 1;
  if (nanoseconds < kPerDoubling) return static_cast<std::size_t>(nanoseconds);
  const auto shift = static_cast<unsigned>(std::bit_width(nanoseconds)) - 1 - kBits;
  const std::size_t place = (shift << kBits) + static_cast<std::size_t>(nanoseconds >> shift);
  return std::min(place, kClasses - 1);
}

std::uint64_t Latency::endOf(std::size_t place) {
  if (place < kPerDoubling) return place + 1;
  const std::size_t shift = place / kPerDoubling - 1;
  return std::uint64_t{place % kPerDoubling + kPerDoubling + 1} << shift;
}

void Latency::add(std::chrono::nanoseconds time) {
  const auto count = static_cast<std::uint64_t>(time.count());
  addAlone(m_counts[classOf(count)]);
  addAlone(m_sum, count);
  if (count > m_longest.load(std::memory_order_relaxed)) m_longest.store(count, std::memory_order_relaxed);
}

std::string_view AnswerWords::word(std::size_t place) {
  return kWordsOfPostfix[place];
}

std::size_t AnswerWords::placeOf(std::string_view reply) {
  const auto* const end = std::find_if(reply.begin(), reply.end(), [](char c) { return c == ' ' || c == '\t'; });
  const std::string_view word(reply.data(), static_cast<std::size_t>(end - reply.begin()));
  for (std::size_t place = 0; place < kNumbers; ++place)
    if (isSame(word, kWordsOfPostfix[place])) return place;
  if (isReplyNumber(word)) return word[0] == '4' ? kNumbers : kNumbers + 1;
  return kWords - 1;
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
  for (std::size_t i = 0; i < AnswerWords::kWords; ++i)
    if (const std::uint64_t count = counters.answers.countOf(i); count > 0)
      answers[std::string(AnswerWords::word(i))] += count;
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
    if (seen >= wanted) return std::min(static_cast<double>(Latency::endOf(i)) / 1000, longestMicroseconds);
  }
  return 0;
}

}  // namespace zrservice
