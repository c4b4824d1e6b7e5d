#include "policy/range_index_internal.h"

#include <limits>
#include <new>

#include "policy/ZrEPLink.h"
#include "policy/entity_key_internal.h"

namespace zr {
namespace {

constexpr std::size_t kOff = static_cast<std::size_t>(-1);

// The level of a block that was not merged from smaller ones.
int levelOf(std::size_t ranges, std::size_t smallest, std::size_t fanOut) {
  int level = 0;
  for (; ranges >= smallest * fanOut; ranges /= fanOut)
    ++level;
  return level;
}

}  // namespace

void RangeIndex::clear() {
  *this = RangeIndex();
}

void RangeIndex::turnOff() {
  clear();
  m_covered = kOff;
}

// An entry without a link holds no address.
void RangeIndex::append(const ZrEPLink* link) {
  m_from.push_back(link != nullptr ? addressOrder(link->m_ipFrom) : 1);
  m_to.push_back(link != nullptr ? addressOrder(link->m_ipTo) : 0);
}

void RangeIndex::added(const Links& links) {
  try {
    if (links.size() > std::numeric_limits<std::uint32_t>::max()) return turnOff();
    append(links.back());
    const std::size_t tailBegin = m_blocks.empty() ? 0 : m_blocks.back().end;
    if (m_to.size() - tailBegin >= kTail) closeTail(tailBegin);
    ++m_covered;
  } catch (const std::bad_alloc&) {
    turnOff();
  }
}

void RangeIndex::rebuild(const Links& links) {
  clear();
  try {
    if (links.size() > std::numeric_limits<std::uint32_t>::max()) return turnOff();
    m_from.reserve(links.size());
    m_to.reserve(links.size());
    for (const ZrEPLink* const link : links)
      append(link);
    if (links.size() >= kTail) closeTail(0);
    if (!m_blocks.empty()) m_blocks.back().level = levelOf(links.size(), kTail, kFanOut);
    m_covered = links.size();
  } catch (const std::bad_alloc&) {
    turnOff();
  }
}

// Makes the places from `begin` on a block, merged with the blocks in front of it as long as kFanOut of them are of one
// level.
void RangeIndex::closeTail(std::size_t begin) {
  const std::size_t before = m_ranges.size();
  for (std::size_t place = begin; place < m_to.size(); ++place) {
    if (m_from[place] <= m_to[place])
      m_ranges.push_back({m_from[place], m_to[place], static_cast<std::uint32_t>(place), 0});
  }
  m_blocks.push_back({m_to.size(), m_ranges.size() - before, 0});
  while (m_blocks.size() >= kFanOut && m_blocks[m_blocks.size() - kFanOut].level == m_blocks.back().level)
    mergeLast();
  arrange(m_ranges.data() + (m_ranges.size() - m_blocks.back().size), m_ranges.data() + m_ranges.size());
}

void RangeIndex::mergeLast() {
  Block merged{m_blocks.back().end, 0, m_blocks.back().level + 1};
  for (std::size_t i = 0; i < kFanOut; ++i) {
    merged.size += m_blocks.back().size;
    m_blocks.pop_back();
  }
  m_blocks.push_back(merged);
}

void RangeIndex::arrange(Range* begin, Range* end) {
  std::sort(begin, end, [](const Range& a, const Range& b) { return a.from < b.from; });
  arrangeSorted(begin, end);
}

// Pulls the range that ends last out of an ordered stretch, puts it in front, and goes on with the two halves behind.
void RangeIndex::arrangeSorted(Range* begin, Range* end) {
  while (end - begin > 1) {
    Range* const root = std::max_element(begin, end, [](const Range& a, const Range& b) { return a.to < b.to; });
    std::rotate(begin, root, root + 1);
    Range* const middle = upperHalf(begin, end);
    if (middle != end) begin->split = middle->from;
    arrangeSorted(begin + 1, middle);
    begin = middle;
  }
}

bool RangeIndex::search(const Range* begin, const Range* end, std::uint32_t address, Found& found) {
  while (begin != end && begin->to >= address) {  // else all of this stretch ends before the address
    if (begin->from <= address && !found.add(begin->place)) return false;
    const Range* const middle = upperHalf(begin, end);
    if (!search(begin + 1, middle, address, found)) return false;
    if (middle == end || begin->split > address) return true;
    begin = middle;
  }
  return true;
}

}  // namespace zr
