#pragma once

#include <cstdint>
#include <vector>

namespace zrhost {

// A range as far as its relation to others goes: first <= last, with the first octet most significant.
struct SweptRange {
  std::uint32_t first;
  std::uint32_t last;
  std::int32_t policyId;
  std::int32_t priority;
  std::uint32_t link;
};

// A range, by its link, and an earlier one.
struct RangePair {
  std::uint32_t range;
  std::uint32_t earlier;
};

// Both take ranges in the order of loading, take n log n steps, and name a range at most once.

// The ranges that lie inside an earlier one of the same policy, each with the one of these that reaches farthest.
std::vector<RangePair> coveredRanges(const std::vector<SweptRange>& ranges);

// The ranges that share addresses with an earlier one of equal priority and another policy, each with the first of
// these, which decides.
std::vector<RangePair> rangesOfEqualPriority(const std::vector<SweptRange>& ranges);

}  // namespace zrhost
