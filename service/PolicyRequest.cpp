#include "service/PolicyRequest.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zrservice {
namespace {

constexpr std::size_t kBlock = 64;

std::uint64_t bitsFrom(std::size_t place) {
  return ~std::uint64_t{0} << place;
}

}  // namespace

// Which bytes of a block are what ends a line or a name, or zero: a bit for each.
struct PolicyRequest::Marks {
  std::uint64_t ends = 0, equals = 0, zeros = 0;

  Marks(const char* bytes, std::size_t count) {
    std::array<char, kBlock> rest;
    if (count < kBlock) {
      rest.fill(' ');
      bytes = std::copy_n(bytes, count, rest.data()) - count;
    }
#ifdef __SSE2__
    for (unsigned at = 0; at < kBlock; at += 16) {
      const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
      ends |= bitsOf(_mm_cmpeq_epi8(part, _mm_set1_epi8('\n'))) << at;
      equals |= bitsOf(_mm_cmpeq_epi8(part, _mm_set1_epi8('='))) << at;
      zeros |= bitsOf(_mm_cmpeq_epi8(part, _mm_setzero_si128())) << at;
    }
#else
    for (unsigned at = 0; at < kBlock; ++at) {
      ends |= std::uint64_t{bytes[at] == '\n'} << at;
      equals |= std::uint64_t{bytes[at] == '='} << at;
      zeros |= std::uint64_t{bytes[at] == '\0'} << at;
    }
#endif
  }

#ifdef __SSE2__
 private:
  static std::uint64_t bitsOf(__m128i part) { return static_cast<unsigned>(_mm_movemask_epi8(part)); }
#endif
};

Found PolicyRequest::parse(std::string_view bytes) {
  const bool haveMoved = !m_attributes.empty() && bytes.data() != m_attributes.front().name.data();
  if (m_isWhole || haveMoved) {
    m_attributes.clear();
    m_seen = 0;
    beginLine(0);
    m_isWhole = false;
  }
  const Fault fault = takeLines(bytes.substr(0, kMostRequestBytes));
  if (fault != nullptr || m_isWhole) {
    m_isWhole = true;
    return {m_lineStart, fault};
  }
  if (bytes.size() < kMostRequestBytes) return {};
  m_isWhole = true;
  return {0, "a request of more than 65536 bytes"};
}

void PolicyRequest::beginLine(std::size_t start) {
  m_lineStart = start;
  m_equals = kNone;
  m_hasZero = false;
}

// Most bytes mean nothing here: of sixty-four, those that do are found at once.
Fault PolicyRequest::takeLines(std::string_view bytes) {
  while (m_seen < bytes.size()) {
    const std::size_t count = std::min(kBlock, bytes.size() - m_seen);
    const std::size_t start = std::exchange(m_seen, m_seen + count);
    const Marks marks(bytes.data() + start, count);
    for (std::uint64_t ends = marks.ends; ends != 0; ends &= ends - 1) {
      const auto end = static_cast<std::size_t>(std::countr_zero(ends));
      noteMarks(marks, start, ~bitsFrom(end));
      if (const Fault fault = takeLine(bytes.substr(0, start + end))) return fault;
      if (m_isWhole) return nullptr;
    }
    noteMarks(marks, start, ~std::uint64_t{0});
  }
  return nullptr;
}

// Of the line at hand, as far as it lies in these bytes of a block.
void PolicyRequest::noteMarks(const Marks& marks, std::size_t start, std::uint64_t bytes) {
  if (m_lineStart > start) bytes &= m_lineStart - start < kBlock ? bitsFrom(m_lineStart - start) : 0;
  const std::uint64_t equals = marks.equals & bytes;
  if (m_equals == kNone && equals != 0) m_equals = start + static_cast<std::size_t>(std::countr_zero(equals));
  m_hasZero |= (marks.zeros & bytes) != 0;
}

Fault PolicyRequest::takeLine(std::string_view bytes) {
  const std::string_view line = bytes.substr(m_lineStart);
  const std::size_t equals = m_equals - m_lineStart;
  const bool hasName = m_equals != kNone && equals > 0, hasZero = m_hasZero;
  beginLine(bytes.size() + 1);
  if (line.empty()) {
    m_isWhole = true;
    return m_attributes.empty() ? "a request without attributes" : nullptr;
  }
  if (!hasName) return "a line that is no name=value";
  if (hasZero) return "a zero byte";
  if (m_attributes.size() == kMostAttributes) return "a request of more than 200 attributes";
  m_attributes.push_back({line.substr(0, equals), line.substr(equals + 1)});
  return nullptr;
}

std::string_view PolicyRequest::value(std::string_view name) const {
  for (const Attribute& attribute : m_attributes)
    if (attribute.name == name) return attribute.value;
  return {};
}

}  // namespace zrservice
