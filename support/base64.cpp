#include "support/base64.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr char base64_table[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
constexpr std::size_t kAlphabetSize = 64;
constexpr std::uint8_t kOutside = 255;

// Both characters of every 12-bit value: half the look-ups, and small enough for the first-level cache.
using Pair = std::array<char, 2>;
constexpr auto kPairs = [] {
  std::array<Pair, kAlphabetSize * kAlphabetSize> pairs{};
  for (std::size_t value = 0; value < pairs.size(); ++value) {
    pairs[value] = {base64_table[value / kAlphabetSize], base64_table[value % kAlphabetSize]};
  }
  return pairs;
}();

constexpr auto kValues = [] {
  std::array<std::uint8_t, 256> values{};
  for (std::uint8_t& value : values)
    value = kOutside;
  for (std::size_t index = 0; index < kAlphabetSize; ++index) {
    values[static_cast<unsigned char>(base64_table[index])] = static_cast<std::uint8_t>(index);
  }
  return values;
}();

char* putPair(char* to, unsigned value) {
  std::memcpy(to, kPairs[value].data(), sizeof(Pair));
  return to + sizeof(Pair);
}

// The last one or two bytes and the padding.
char* putRest(char* to, const unsigned char* rest, int count) {
  if (count == 1) {
    to = putPair(to, static_cast<unsigned>(rest[0]) << 4);
    *to++ = '=';
  } else {
    to = putPair(to, static_cast<unsigned>(rest[0]) << 4 | rest[1] >> 4);
    *to++ = base64_table[(rest[1] & 0x0FU) << 2];
  }
  *to++ = '=';
  return to;
}

struct Decoder {
  const unsigned char* from;
  const unsigned char* end;
  unsigned char* to;

  // Takes four characters at a time, as long as all of them are of the alphabet.
  void takeGroups() {
    for (; end - from >= 4; from += 4, to += 3) {
      const unsigned a = kValues[from[0]], b = kValues[from[1]], c = kValues[from[2]], d = kValues[from[3]];
      if ((a | b | c | d) >= kAlphabetSize) return;
      to[0] = static_cast<unsigned char>(a << 2 | b >> 4);
      to[1] = static_cast<unsigned char>(b << 4 | c >> 2);
      to[2] = static_cast<unsigned char>(c << 6 | d);
    }
  }

  // Takes the characters one by one until a group of four is complete; the rest of an unfinished group at the end.
  void takeOneGroup() {
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
};

}  // namespace

int ToB64Enc(const char* src, char* dst, int len) {
  const auto* from = reinterpret_cast<const unsigned char*>(src);
  for (; len >= 3; len -= 3, from += 3) {
    dst = putPair(dst, static_cast<unsigned>(from[0]) << 4 | from[1] >> 4);
    dst = putPair(dst, (from[1] & 0x0FU) << 8 | from[2]);
  }
  if (len > 0) dst = putRest(dst, from, len);
  *dst = '\0';
  return 0;
}

unsigned char* Base64Decode(const char* src, unsigned int* outLen) {
  const std::size_t length = std::strcspn(src, "=");
  auto* result = new unsigned char[length / 4 * 3 + 3];
  const auto* from = reinterpret_cast<const unsigned char*>(src);
  Decoder decoder{from, from + length, result};
  while (decoder.from != decoder.end) {
    decoder.takeGroups();
    decoder.takeOneGroup();
  }
  *outLen = static_cast<unsigned int>(decoder.to - result);
  return result;
}
