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

// The bytes of a block that are `byte`: a bit for each.
std::uint64_t placesOf(char byte, const char* block) {
  std::uint64_t places = 0;
#ifdef __SSE2__
  for (unsigned at = 0; at < kBlock; at += 16) {
    const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + at));
    const auto found = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(part, _mm_set1_epi8(byte))));
    places |= std::uint64_t{found} << at;
  }
#else
  for (unsigned at = 0; at < kBlock; ++at)
    places |= std::uint64_t{block[at] == byte} << at;
#endif
  return places;
}

}  // namespace

Found PolicyRequest::parse(std::string_view bytes) {
  const bool haveMoved = !m_attributes.empty() && bytes.data() != m_attributes.front().name.data();
  if (m_isWhole || haveMoved) {
    m_attributes.clear();
    m_seen = 0;
    m_lineStart = 0;
    m_equals = m_zero = kNone;
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

// Most bytes mean nothing here: of sixty-four, those that do are found at once.
Fault PolicyRequest::takeLines(std::string_view bytes) {
  std::array<char, kBlock> rest;
  while (m_seen < bytes.size()) {
    const std::size_t start = m_seen, count = std::min(kBlock, bytes.size() - start);
    const char* block = bytes.data() + start;
    if (count < kBlock) {
      rest.fill(' ');
      std::copy_n(block, count, rest.begin());
      block = rest.data();
    }
    m_seen += count;
    const std::uint64_t zeros = placesOf('\0', block);
    if (m_zero == kNone && zeros != 0) m_zero = start + static_cast<std::size_t>(std::countr_zero(zeros));
    if (const Fault fault = takeBlock(bytes, start, placesOf('\n', block), placesOf('=', block))) return fault;
    if (m_isWhole) return nullptr;
  }
  return nullptr;
}

Fault PolicyRequest::takeBlock(std::string_view bytes, std::size_t start, std::uint64_t ends, std::uint64_t equals) {
  for (;; ends &= ends - 1) {
    if (m_equals == kNone && equals != 0) m_equals = start + static_cast<std::size_t>(std::countr_zero(equals));
    if (ends == 0) return nullptr;
    const auto place = static_cast<unsigned>(std::countr_zero(ends));
    if (const Fault fault = takeLine(bytes, start + place)) return fault;
    if (m_isWhole) return nullptr;
    m_equals = kNone;
    equals &= ~std::uint64_t{1} << place;
  }
}

// The line at hand ends with the line feed at `end`.
Fault PolicyRequest::takeLine(std::string_view bytes, std::size_t end) {
  const std::size_t start = std::exchange(m_lineStart, end + 1);
  if (start == end) {
    m_isWhole = true;
    return m_attributes.empty() ? "a request without attributes" : nullptr;
  }
  if (m_equals >= end || m_equals == start) return "a line that is no name=value";
  if (m_zero < end) return "a zero byte";
  if (m_attributes.size() == kMostAttributes) return "a request of more than 200 attributes";
  m_attributes.push_back({{bytes.data() + start, m_equals - start}, {bytes.data() + m_equals + 1, end - m_equals - 1}});
  return nullptr;
}

std::string_view PolicyRequest::value(std::string_view name) const {
  for (const Attribute& attribute : m_attributes)
    if (attribute.name.size() == name.size() && attribute.name.front() == name.front() && attribute.name == name)
      return attribute.value;
  return {};
}

}  // namespace zrservice
