#include "service/PolicyRequest.h"

#include <algorithm>
#include <bit>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zrservice {
namespace {

constexpr std::size_t kBlock = 16;

// A bit for each of the bytes that is a line feed, an equals sign or zero.
unsigned marksIn(const char* bytes, std::size_t count) {
#ifdef __SSE2__
  if (count == kBlock) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i ends =
        _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('\n')), _mm_cmpeq_epi8(block, _mm_set1_epi8('=')));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(ends, _mm_cmpeq_epi8(block, _mm_setzero_si128()))));
  }
#endif
  unsigned marks = 0;
  for (std::size_t i = 0; i < count; ++i)
    marks |= static_cast<unsigned>(bytes[i] == '\n' || bytes[i] == '=' || bytes[i] == '\0') << i;
  return marks;
}

}  // namespace

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

// Most bytes mean nothing here: of sixteen, those that do are found at once.
Fault PolicyRequest::takeLines(std::string_view bytes) {
  while (m_seen < bytes.size()) {
    const std::size_t count = std::min(kBlock, bytes.size() - m_seen);
    const std::size_t start = std::exchange(m_seen, m_seen + count);
    for (unsigned marks = marksIn(bytes.data() + start, count); marks != 0; marks &= marks - 1) {
      if (const Fault fault = takeMark(bytes, start + static_cast<std::size_t>(std::countr_zero(marks)))) return fault;
      if (m_isWhole) return nullptr;
    }
  }
  return nullptr;
}

Fault PolicyRequest::takeMark(std::string_view bytes, std::size_t at) {
  switch (bytes[at]) {
    case '=':
      m_equals = std::min(m_equals, at);
      return nullptr;
    case '\0':
      m_hasZero = true;
      return nullptr;
    default:
      return takeLine(bytes.substr(0, at));
  }
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
