#include "policy/range_index_internal.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

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

void Places::grow() {
  std::unique_ptr<std::uint32_t[]> more(new std::uint32_t[m_capacity * 2]);
  std::copy(begin(), end(), more.get());
  m_more = std::move(more);
  m_data = m_more.get();
  m_capacity *= 2;
}

void RangeIndex::clear() {
  std::vector<Range>().swap(m_ranges);  // assignment would keep the memory
  std::vector<Block>().swap(m_blocks);
  m_tailBegin = m_covered = 0;
}

void RangeIndex::turnOff() {
  clear();
  m_covered = kOff;
}

// A range that no address can lie in, and an entry without a link, need no place here.
void RangeIndex::append(const Links& links, std::size_t place) {
  const ZrEPLink* const link = links[place];
  if (link == nullptr) return;
  const std::uint32_t from = addressOrder(link->m_ipFrom);
  const std::uint32_t to = addressOrder(link->m_ipTo);
  if (from <= to) m_ranges.push_back({from, to, static_cast<std::uint32_t>(place), 0});
}

void RangeIndex::added(const Links& links) {
  try {
    if (links.size() > std::numeric_limits<std::uint32_t>::max()) return turnOff();
    append(links, links.size() - 1);
    if (m_ranges.size() - m_tailBegin >= kTail) closeTail();
    ++m_covered;
  } catch (const std::bad_alloc&) {
    turnOff();
  }
}

void RangeIndex::rebuild(const Links& links) {
  clear();
  try {
    if (links.size() > std::numeric_limits<std::uint32_t>::max()) return turnOff();
    m_ranges.reserve(links.size());
    for (std::size_t place = 0; place < links.size(); ++place)
      append(links, place);
    if (m_ranges.size() >= kTail) {
      m_blocks.push_back({0, levelOf(m_ranges.size(), kTail, kFanOut)});
      m_tailBegin = m_ranges.size();
      arrange(m_ranges.data(), m_ranges.data() + m_ranges.size());
    }
    m_covered = links.size();
  } catch (const std::bad_alloc&) {
    turnOff();
  }
}

// Makes the tail a block, merged with the blocks in front of it as long as kFanOut of them are of one level.
void RangeIndex::closeTail() {
  m_blocks.push_back({m_tailBegin, 0});
  while (m_blocks.size() >= kFanOut && m_blocks[m_blocks.size() - kFanOut].level == m_blocks.back().level) {
    const int level = m_blocks.back().level + 1;
    m_blocks.resize(m_blocks.size() - kFanOut + 1);
    m_blocks.back().level = level;
  }
  m_tailBegin = m_ranges.size();
  arrange(m_ranges.data() + m_blocks.back().begin, m_ranges.data() + m_ranges.size());
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

void RangeIndex::search(const Range* begin, const Range* end, std::uint32_t address, Places& places) {
  while (begin != end && begin->to >= address) {  // else all of this stretch ends before the address
    if (begin->from <= address) places.add(begin->place);
    const Range* const middle = upperHalf(begin, end);
    search(begin + 1, middle, address, places);
    if (middle == end || begin->split > address) return;
    begin = middle;
  }
}

void RangeIndex::find(std::uint32_t address, Places& places) const {
  for (std::size_t i = 0; i < m_blocks.size(); ++i) {
    const std::size_t end = i + 1 < m_blocks.size() ? m_blocks[i + 1].begin : m_tailBegin;
    const std::size_t found = places.size();
    search(m_ranges.data() + m_blocks[i].begin, m_ranges.data() + end, address, places);
    std::sort(places.begin() + found, places.end());
  }
  for (std::size_t i = m_tailBegin; i < m_ranges.size(); ++i) {
    if (m_ranges[i].from <= address && address <= m_ranges[i].to) places.add(m_ranges[i].place);
  }
}

}  // namespace zr
