#ifndef ZR_POLICY_RANGE_INDEX_INTERNAL_H
#define ZR_POLICY_RANGE_INDEX_INTERNAL_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class ZrEPLink;

namespace zr {

// The places that one search finds. The first of them need no memory of their own.
class Places {
 public:
  std::uint32_t* begin() { return m_data; }
  std::uint32_t* end() { return m_data + m_size; }
  std::size_t size() const { return m_size; }
  void add(std::uint32_t place) {  // throws std::bad_alloc
    if (m_size == m_capacity) grow();
    m_data[m_size++] = place;
  }

 private:
  static constexpr std::size_t kFirst = 128;

  void grow();

  std::size_t m_size = 0;
  std::size_t m_capacity = kFirst;
  std::uint32_t m_first[kFirst];
  std::unique_ptr<std::uint32_t[]> m_more;
  std::uint32_t* m_data = m_first;
};

// Finds the ranges that hold an address, in the order in which they were added.
//
// The ranges stand in blocks, each covering a run of that order. A block is a priority search tree laid out in an
// array: the root is the range that ends last, the others follow, halved by where they begin. Ranges too few for a
// block stand as they came in a short tail; as blocks of like size pile up at the end they are merged into one, so that
// a range is moved a logarithmic number of times. Four 32-bit numbers for each range.
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

  // Appends the places in the list of all ranges that hold `address` (first octet most significant), ascending. Throws
  // std::bad_alloc, nothing else.
  void find(std::uint32_t address, Places& places) const;

 private:
  struct Range {
    std::uint32_t from;
    std::uint32_t to;
    std::uint32_t place;
    std::uint32_t split;  // where the first range of the upper half begins
  };
  struct Block {
    std::size_t begin;
    int level;  // a block of level n + 1 was merged from kFanOut blocks of level n
  };
  static constexpr std::size_t kTail = 64;
  static constexpr std::size_t kFanOut = 4;

  void append(const Links& links, std::size_t place);
  void closeTail();
  static void arrange(Range* begin, Range* end);
  static void arrangeSorted(Range* begin, Range* end);
  // Where the upper half of a tree begins: behind its root and its lower half. Its end when there is none.
  template <class Pointer>
  static Pointer upperHalf(Pointer begin, Pointer end) {
    return begin + 1 + (end - begin) / 2;
  }
  static void search(const Range* begin, const Range* end, std::uint32_t address, Places& places);

  std::vector<Range> m_ranges;
  std::vector<Block> m_blocks;
  std::size_t m_tailBegin = 0;
  std::size_t m_covered = 0;
};

}  // namespace zr

#endif  // ZR_POLICY_RANGE_INDEX_INTERNAL_H
