#include "host/check/range_sweep_internal.h"

#include <algorithm>
#include <bit>

namespace zrhost {
namespace {

using Ranges = std::vector<SweptRange>;
constexpr std::uint32_t kNone = UINT32_MAX;

// The places where ranges begin. Two ranges overlap exactly when one begins inside the other, so no other places are
// needed to tell.
class Starts {
 public:
  explicit Starts(const Ranges& ranges) {
    m_starts.reserve(ranges.size());
    for (const SweptRange& range : ranges)
      m_starts.push_back(range.first);
    std::sort(m_starts.begin(), m_starts.end());
    m_starts.erase(std::unique(m_starts.begin(), m_starts.end()), m_starts.end());
  }
  std::size_t size() const { return m_starts.size(); }
  // How many begin below `address`.
  std::size_t below(std::uint32_t address) const {
    return static_cast<std::size_t>(std::lower_bound(m_starts.begin(), m_starts.end(), address) - m_starts.begin());
  }
  std::size_t upTo(std::uint32_t address) const {
    return static_cast<std::size_t>(std::upper_bound(m_starts.begin(), m_starts.end(), address) - m_starts.begin());
  }

 private:
  std::vector<std::uint32_t> m_starts;
};

// Of the ranges that were added and begin at or below a place, the one that reaches farthest; of equal ones the one
// added first. A tree of prefixes (Fenwick).
class FarthestReach {
 public:
  FarthestReach(const Ranges& ranges, std::size_t places) : m_ranges(ranges), m_farthest(places + 1, kNone) {}

  void add(std::size_t place, std::uint32_t range) {
    for (std::size_t at = place + 1; at < m_farthest.size(); at += at & (~at + 1))
      m_farthest[at] = farther(m_farthest[at], range);
  }
  std::uint32_t find(std::size_t place) const {
    std::uint32_t found = kNone;
    for (std::size_t at = place + 1; at > 0; at -= at & (~at + 1))
      found = farther(found, m_farthest[at]);
    return found;
  }

 private:
  std::uint32_t farther(std::uint32_t a, std::uint32_t b) const {
    if (a == kNone || b == kNone) return std::min(a, b);
    if (m_ranges[a].last != m_ranges[b].last) return m_ranges[a].last > m_ranges[b].last ? a : b;
    return std::min(a, b);
  }

  const Ranges& m_ranges;
  std::vector<std::uint32_t> m_farthest;
};

// Finds the first of the ranges added that overlaps a range and has another policy. A binary tree over the places where
// ranges begin; each node notes the first two ranges of different policies that cover all of it, and that touch it:
// one of two has another policy than whoever asks. Ranges are added in their order.
class OverlapTree {
 public:
  OverlapTree(const Ranges& ranges, std::size_t places)
      : m_ranges(ranges), m_leaves(std::bit_ceil(places)), m_nodes(2 * m_leaves) {}

  // `begin` to `end` (not included): the places inside the range.
  void add(std::size_t begin, std::size_t end, std::uint32_t range) {
    forParts(begin, end, [&](Node& node) {
      note(node.covering, range);
      note(node.touching, range);
    });
    forParents(begin, end, [&](Node& node) { note(node.touching, range); });
  }

  std::uint32_t find(std::size_t begin, std::size_t end, std::uint32_t asking) {
    std::uint32_t found = kNone;
    forParts(begin, end, [&](Node& node) { found = std::min(found, ofOther(node.touching, asking)); });
    forParents(begin, end, [&](Node& node) { found = std::min(found, ofOther(node.covering, asking)); });
    return found;
  }

 private:
  struct FirstTwo {
    std::uint32_t first = kNone;
    std::uint32_t ofAnother = kNone;
  };
  struct Node {
    FirstTwo covering;
    FirstTwo touching;
  };

  // The fewest nodes that together are the places from begin to end.
  template <class Visit>
  void forParts(std::size_t begin, std::size_t end, Visit visit) {
    for (begin += m_leaves, end += m_leaves; begin < end; begin /= 2, end /= 2) {
      if (begin % 2 == 1) visit(m_nodes[begin++]);
      if (end % 2 == 1) visit(m_nodes[--end]);
    }
  }

  // The nodes from the outermost places up to the root; all nodes above the parts are among them.
  template <class Visit>
  void forParents(std::size_t begin, std::size_t end, Visit visit) {
    std::size_t left = begin + m_leaves, right = end - 1 + m_leaves;
    for (; left != right; left /= 2, right /= 2) {
      visit(m_nodes[left]);
      visit(m_nodes[right]);
    }
    for (; left > 0; left /= 2)
      visit(m_nodes[left]);
  }

  bool isOther(std::uint32_t a, std::uint32_t b) const { return m_ranges[a].policyId != m_ranges[b].policyId; }

  void note(FirstTwo& two, std::uint32_t range) const {
    if (two.first == kNone) {
      two.first = range;
    } else if (two.ofAnother == kNone && isOther(two.first, range)) {
      two.ofAnother = range;
    }
  }

  std::uint32_t ofOther(const FirstTwo& two, std::uint32_t asking) const {
    return two.first != kNone && isOther(two.first, asking) ? two.first : two.ofAnother;
  }

  const Ranges& m_ranges;
  std::size_t m_leaves;
  std::vector<Node> m_nodes;
};

// Calls `sweep` with the ranges of each value of `member`, in their order, where there is more than one.
template <class Sweep>
void forEqual(const Ranges& ranges, std::int32_t SweptRange::*member, Sweep sweep) {
  Ranges sorted = ranges;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [member](const SweptRange& a, const SweptRange& b) { return a.*member < b.*member; });
  for (auto begin = sorted.begin(), end = begin; begin != sorted.end(); begin = end) {
    end = std::find_if(begin, sorted.end(), [&](const SweptRange& range) { return range.*member != (*begin).*member; });
    if (end - begin > 1) sweep(Ranges(begin, end));
  }
}

}  // namespace

std::vector<RangePair> coveredRanges(const std::vector<SweptRange>& ranges) {
  std::vector<RangePair> found;
  forEqual(ranges, &SweptRange::policyId, [&found](const Ranges& ofPolicy) {
    const Starts starts(ofPolicy);
    FarthestReach reach(ofPolicy, starts.size());
    for (std::uint32_t i = 0; i < ofPolicy.size(); ++i) {
      const std::size_t place = starts.below(ofPolicy[i].first);
      const std::uint32_t earlier = reach.find(place);
      if (earlier != kNone && ofPolicy[earlier].last >= ofPolicy[i].last) {
        found.push_back({ofPolicy[i].link, ofPolicy[earlier].link});
      }
      reach.add(place, i);
    }
  });
  return found;
}

std::vector<RangePair> rangesOfEqualPriority(const std::vector<SweptRange>& ranges) {
  std::vector<RangePair> found;
  forEqual(ranges, &SweptRange::priority, [&found](const Ranges& ofPriority) {
    const Starts starts(ofPriority);
    OverlapTree tree(ofPriority, starts.size());
    for (std::uint32_t i = 0; i < ofPriority.size(); ++i) {
      const std::size_t begin = starts.below(ofPriority[i].first), end = starts.upTo(ofPriority[i].last);
      const std::uint32_t earlier = tree.find(begin, end, i);
      if (earlier != kNone) found.push_back({ofPriority[i].link, ofPriority[earlier].link});
      tree.add(begin, end, i);
    }
  });
  return found;
}

}  // namespace zrhost
