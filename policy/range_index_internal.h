#ifndef ZR_POLICY_RANGE_INDEX_INTERNAL_H
#define ZR_POLICY_RANGE_INDEX_INTERNAL_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

class ZrEPLink;

namespace zr {

// Finds the ranges that hold an address, in the order in which they were added.
//
// The bounds of all ranges stand in that order in two lists. Runs of it are searched by blocks: a block is a priority
// search tree laid out in an array, whose root is the range that ends last, while the others follow, halved by where
// they begin. As blocks of like size pile up at the end they are merged into one, so that a range is moved a
// logarithmic number of times; ranges too few for a block, at the end, are looked through one by one. So is a run in
// which so many ranges match that putting them in order would take longer. Six 32-bit numbers for each range.
//
// Like the key indexes it knows how many links it has seen, must be asked only while that is the list's size, and stays
// off once it is off.
class RangeIndex {
 public:
  using Links = std::vector<ZrEPLink*>;

  bool covers(const Links& links) const { return m_covered == links.size(); }
  void clear();
  void turnOff();
  // Takes in the last of `links`, which the index covered before.
  void added(const Links& links);
  // Makes one block of everything.
  void rebuild(const Links& links);

  // Calls visit(place) for each range that holds `address` (first octet most significant), with its place in the list
  // of all ranges, ascending. Allocates nothing, and throws what visit throws.
  template <class Visit>
  void visit(std::uint32_t address, Visit visit) const {
    std::size_t begin = 0;
    const Range* ranges = m_ranges.data();
    for (const Block& block : m_blocks) {
      Found found(block.size / kWorthOrdering);
      if (search(ranges, ranges + block.size, address, found)) {
        std::sort(found.begin(), found.end());
        std::for_each(found.begin(), found.end(), visit);
      } else {
        visitPlainly(begin, block.end, address, visit);
      }
      begin = block.end;
      ranges += block.size;
    }
    visitPlainly(begin, m_to.size(), address, visit);
  }

 private:
  struct Range {
    std::uint32_t from;
    std::uint32_t to;
    std::uint32_t place;
    std::uint32_t split;  // where the first range of the upper half begins
  };
  struct Block {
    std::size_t end;   // of its places
    std::size_t size;  // in ranges: those that no address can lie in are left out
    int level;         // a block of level n + 1 was merged from kFanOut blocks of level n
  };
  static constexpr std::size_t kTail = 256;
  static constexpr std::size_t kFanOut = 4;
  static constexpr std::size_t kChunk = 32;
  // Above one match in so many ranges, looking through all of them is faster than ordering the matches of a search.
  static constexpr std::size_t kWorthOrdering = 64;

  // What a search has found; it may be too much.
  class Found {
   public:
    explicit Found(std::size_t most) : m_most(std::min(most, m_places.size())) {}
    std::uint32_t* begin() { return m_places.data(); }
    std::uint32_t* end() { return m_places.data() + m_size; }
    bool add(std::uint32_t place) {
      if (m_size == m_most) return false;
      m_places[m_size++] = place;
      return true;
    }

   private:
    std::array<std::uint32_t, 128> m_places;
    std::size_t m_size = 0;
    std::size_t m_most;
  };

  void append(const ZrEPLink* link);
  void closeTail(std::size_t begin);
  void mergeLast();
  static void arrange(Range* begin, Range* end);
  static void arrangeSorted(Range* begin, Range* end);
  // Where the upper half of a tree begins: behind its root and its lower half. Its end when there is none.
  template <class Pointer>
  static Pointer upperHalf(Pointer begin, Pointer end) {
    return begin + 1 + (end - begin) / 2;
  }
  // Answers false when there are too many.
  static bool search(const Range* begin, const Range* end, std::uint32_t address, Found& found);

  bool holds(std::size_t place, std::uint32_t address) const {
    return m_from[place] <= address && address <= m_to[place];
  }
  // Whether one of the kChunk ranges from `place` on may hold the address; without branches, so that the compiler can
  // compare several at once.
  bool chunkHolds(std::size_t place, std::uint32_t address) const {
    const std::uint32_t* const from = m_from.data() + place;
    const std::uint32_t* const to = m_to.data() + place;
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < kChunk; ++i)
      any |= static_cast<std::uint32_t>(from[i] <= address) & static_cast<std::uint32_t>(address <= to[i]);
    return any != 0;
  }
  template <class Visit>
  void visitPlainly(std::size_t begin, std::size_t end, std::uint32_t address, Visit& visit) const {
    while (begin < end) {
      const std::size_t next = std::min(begin + kChunk, end);
      if (next - begin == kChunk && !chunkHolds(begin, address)) {
        begin = next;
        continue;
      }
      for (; begin < next; ++begin) {
        if (holds(begin, address)) visit(begin);
      }
    }
  }

  std::vector<std::uint32_t> m_from;
  std::vector<std::uint32_t> m_to;
  std::vector<Range> m_ranges;
  std::vector<Block> m_blocks;
  std::size_t m_covered = 0;
};

}  // namespace zr

#endif  // ZR_POLICY_RANGE_INDEX_INTERNAL_H
