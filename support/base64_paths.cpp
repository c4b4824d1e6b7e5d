#include <cstring>

#include "support/base64_internal.h"

namespace zr::base64 {
namespace {

// Both characters of every 12-bit value: half the look-ups, and small enough for the first-level cache.
using Pair = std::array<char, 2>;
constexpr auto kPairs = [] {
  std::array<Pair, kAlphabetSize * kAlphabetSize> pairs{};
  for (std::size_t value = 0; value < pairs.size(); ++value) {
    pairs[value] = {base64_table[value / kAlphabetSize], base64_table[value % kAlphabetSize]};
  }
  return pairs;
}();

char* putPair(char* to, unsigned value) {
  std::memcpy(to, kPairs[value].data(), sizeof(Pair));
  return to + sizeof(Pair);
}

void encodeGroups(Encoding& encoding) {
  auto [from, end, to] = encoding;
  for (; end - from >= 3; from += 3) {
    to = putPair(to, static_cast<unsigned>(from[0]) << 4 | from[1] >> 4);
    to = putPair(to, (from[1] & 0x0FU) << 8 | from[2]);
  }
  encoding = {from, end, to};
}

// The last one or two bytes and the padding.
void encodeRest(Encoding& encoding) {
  auto& [from, end, to] = encoding;
  if (from == end) return;
  if (end - from == 1) {
    to = putPair(to, static_cast<unsigned>(from[0]) << 4);
    *to++ = '=';
  } else {
    to = putPair(to, static_cast<unsigned>(from[0]) << 4 | from[1] >> 4);
    *to++ = base64_table[(from[1] & 0x0FU) << 2];
  }
  *to++ = '=';
}

void decodeGroups(Decoding& decoding) {
  auto [from, end, to] = decoding;
  for (; end - from >= 4; from += 4, to += 3) {
    const unsigned a = kValues[from[0]], b = kValues[from[1]], c = kValues[from[2]], d = kValues[from[3]];
    if ((a | b | c | d) >= kAlphabetSize) break;
    to[0] = static_cast<unsigned char>(a << 2 | b >> 4);
    to[1] = static_cast<unsigned char>(b << 4 | c >> 2);
    to[2] = static_cast<unsigned char>(c << 6 | d);
  }
  decoding = {from, end, to};
}

// Takes the characters one by one until a group of four is complete; the rest of an unfinished group at the end.
void decodeOneGroup(Decoding& decoding) {
  auto& [from, end, to] = decoding;
  std::uint32_t bits = 0;
  int count = 0;
  while (from != end && count < 4) {
    const unsigned value = kValues[*from++];
    if (value == kOutside) continue;
    bits = bits << 6 | value;
    ++count;
  }
  if (count < 2) return;
  bits <<= 6 * (4 - count);
  *to++ = static_cast<unsigned char>(bits >> 16);
  if (count > 2) *to++ = static_cast<unsigned char>(bits >> 8);
  if (count > 3) *to++ = static_cast<unsigned char>(bits);
}

}  // namespace

const Path kPortable{"portable", encodeGroups, decodeGroups};

std::span<const Path* const> usablePaths() {
#ifdef ZR_BASE64_ON_X86
  static constexpr const Path* kPaths[] = {&kAvx2, &kSsse3, &kPortable};
  // Costs a look at a variable that is filled before any other constructor runs, so it is asked anew each time. A
  // function chosen by the loader would be cheaper by nothing that shows, and the sanitizers cannot bear it.
  const std::size_t skipped = __builtin_cpu_supports("avx2") != 0 ? 0 : __builtin_cpu_supports("ssse3") != 0 ? 1 : 2;
#else
  static constexpr const Path* kPaths[] = {&kPortable};
  const std::size_t skipped = 0;
#endif
  return std::span(kPaths).subspan(skipped);
}

void encode(const Path& path, const char* src, char* dst, int len) {
  const auto* from = reinterpret_cast<const unsigned char*>(src);
  Encoding encoding{from, len > 0 ? from + len : from, dst};
  path.encodeGroups(encoding);
  encodeGroups(encoding);
  encodeRest(encoding);
  *encoding.to = '\0';
}

unsigned char* decode(const Path& path, const char* src, unsigned int* outLen) {
  const auto length = static_cast<std::size_t>(strchrnul(src, '=') - src);
  auto* result = new unsigned char[length / 4 * 3 + 3];
  const auto* from = reinterpret_cast<const unsigned char*>(src);
  Decoding decoding{from, from + length, result};
  while (decoding.from != decoding.end) {
    path.decodeGroups(decoding);
    decodeGroups(decoding);
    decodeOneGroup(decoding);
  }
  *outLen = static_cast<unsigned int>(decoding.to - result);
  return result;
}

}  // namespace zr::base64
