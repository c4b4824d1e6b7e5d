// Base64 in vector registers. Included once by the source file of each instruction set, which says before it what
// differs:
//
//   ZR_VECTOR_TARGET    the attribute that lets a function use the instruction set
//   ZR_VECTOR(op)       the intrinsic of that name
//   Vector, kLanes      the register, and of how many lanes of 16 bytes it consists
//   broadcast           a table of 16 bytes in every lane
//   loadGroups          four groups of three bytes at the front of each lane
//   storeGroups         the first twelve bytes of each lane, one behind the other, and 4 bytes of no meaning
//
// The sources are not compiled with flags of their own, since what they share with the rest of the library (inline
// functions of the standard library) would then not run on every machine.

#include "support/base64_internal.h"

namespace zr::base64 {
namespace {

using Table = std::array<std::uint8_t, 16>;

constexpr std::ptrdiff_t kBytesTaken = 12 * kLanes;
constexpr std::ptrdiff_t kCharacters = 16 * kLanes;
constexpr std::ptrdiff_t kBytesTouched = kBytesTaken + 4;

// The characters that must be left for the room behind `to` to hold a whole store.
constexpr std::ptrdiff_t kCharactersNeeded = (kBytesTouched - 3 + 2) / 3 * 4;
static_assert(kCharactersNeeded >= kCharacters && kCharactersNeeded / 4 * 3 + 3 >= kBytesTouched);

// ---- values into characters ----

// Within each of the alphabet's runs (A-Z, a-z, the digits and signs one by one) a character is its value and a
// constant. The runs are numbered so that two cheap instructions find the number: what a value is above 51, and 13 in
// place of 0 for those below 26.
constexpr unsigned runOf(unsigned value) {
  return value < 26 ? 13 : value > 51 ? value - 51 : 0;
}

constexpr Table kFromValue = [] {
  Table shifts{};
  for (unsigned value = 0; value < kAlphabetSize; ++value)
    shifts[runOf(value)] = static_cast<std::uint8_t>(base64_table[value] - static_cast<int>(value));
  return shifts;
}();

ZR_VECTOR_TARGET Vector charactersOf(Vector values) {
  const Vector above51 = ZR_VECTOR(subs_epu8)(values, ZR_VECTOR(set1_epi8)(51));
  const Vector below26 = ZR_VECTOR(cmpgt_epi8)(ZR_VECTOR(set1_epi8)(26), values);
  const Vector runs = above51 | (below26 & ZR_VECTOR(set1_epi8)(13));
  return ZR_VECTOR(add_epi8)(values, ZR_VECTOR(shuffle_epi8)(broadcast(kFromValue), runs));
}

// Three bytes b0 b1 b2 into four values: laid out as b1 b0 b2 b1, each value lies within 16 bits, and a multiplication
// moves it to its byte.
ZR_VECTOR_TARGET Vector valuesOf(Vector bytes) {
  constexpr Table kLayOut = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};
  const Vector groups = ZR_VECTOR(shuffle_epi8)(bytes, broadcast(kLayOut));
  const Vector first = groups & ZR_VECTOR(set1_epi32)(0x0FC0FC00);
  const Vector second = groups & ZR_VECTOR(set1_epi32)(0x003F03F0);
  return ZR_VECTOR(mulhi_epu16)(first, ZR_VECTOR(set1_epi32)(0x04000040)) |
         ZR_VECTOR(mullo_epi16)(second, ZR_VECTOR(set1_epi32)(0x01000010));
}

ZR_VECTOR_TARGET void encodeVectors(Encoding& encoding) {
  auto [from, end, to] = encoding;
  for (; end - from >= kBytesTouched; from += kBytesTaken, to += kCharacters)
    store(to, charactersOf(valuesOf(loadGroups(from))));
  encoding = {from, end, to};
}

// ---- characters into values ----

// A character is of the alphabet when its lower half is allowed with its upper half. Upper halves that allow the same
// lower halves share a bit; a lower half has the bits of those that it must not stand with.
constexpr unsigned bitOf(unsigned upper) {
  constexpr std::uint8_t kBits[16] = {16, 16, 1, 2, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16};
  return kBits[upper];
}

constexpr bool isOutside(unsigned upper, unsigned lower) {
  return kValues[upper << 4 | lower] == kOutside;
}

constexpr Table kUpperBits = [] {
  Table bits{};
  for (unsigned upper = 0; upper < 16; ++upper)
    bits[upper] = static_cast<std::uint8_t>(bitOf(upper));
  return bits;
}();

constexpr Table kLowerBits = [] {
  Table bits{};
  for (unsigned character = 0; character < 256; ++character)
    if (isOutside(character >> 4, character & 15))
      bits[character & 15] |= static_cast<std::uint8_t>(bitOf(character >> 4));
  return bits;
}();

// A value is its character and a constant that its upper half tells; "/", beside "+", has that of the half before.
constexpr Table kFromCharacter = [] {
  Table shifts{};
  for (unsigned value = 0; value < kAlphabetSize; ++value) {
    const auto character = static_cast<unsigned char>(base64_table[value]);
    shifts[(character >> 4) - (character == '/' ? 1U : 0U)] = static_cast<std::uint8_t>(value - character);
  }
  return shifts;
}();

struct Looked {
  Vector values;
  unsigned strangers;  // a bit for each character outside the alphabet
};

ZR_VECTOR_TARGET Looked lookUp(Vector characters) {
  // A look-up needs the highest bit clear and ignores the three below it, so the halves may be cut out with "/", 0x2F,
  // which is needed anyway.
  const Vector slash = ZR_VECTOR(set1_epi8)(0x2F);
  const Vector upper = ZR_VECTOR(srli_epi32)(characters, 4) & slash;
  const Vector lower = characters & slash;
  const Vector bits =
      ZR_VECTOR(shuffle_epi8)(broadcast(kUpperBits), upper) & ZR_VECTOR(shuffle_epi8)(broadcast(kLowerBits), lower);
  const Vector run = ZR_VECTOR(add_epi8)(upper, ZR_VECTOR(cmpeq_epi8)(characters, slash));
  const Vector shift = ZR_VECTOR(shuffle_epi8)(broadcast(kFromCharacter), run);
  const Vector strange = ZR_VECTOR(cmpgt_epi8)(bits, bits ^ bits);
  return {ZR_VECTOR(add_epi8)(characters, shift), static_cast<unsigned>(ZR_VECTOR(movemask_epi8)(strange))};
}

// Four values into three bytes: two multiplications join them in pairs, and the bytes are put into order.
ZR_VECTOR_TARGET Vector bytesOf(Vector values) {
  constexpr Table kOrder = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 128, 128, 128, 128};
  const Vector pairs = ZR_VECTOR(maddubs_epi16)(values, ZR_VECTOR(set1_epi32)(0x01400140));
  const Vector groups = ZR_VECTOR(madd_epi16)(pairs, ZR_VECTOR(set1_epi32)(0x00011000));
  return ZR_VECTOR(shuffle_epi8)(groups, broadcast(kOrder));
}

ZR_VECTOR_TARGET void decodeVectors(Decoding& decoding) {
  auto [from, end, to] = decoding;
  while (end - from >= kCharactersNeeded) {
    const Looked looked = lookUp(load(from));
    storeGroups(to, bytesOf(looked.values));
    if (looked.strangers != 0) {
      const int groups = __builtin_ctz(looked.strangers) / 4;
      from += 4 * groups;
      to += 3 * groups;
      break;
    }
    from += kCharacters;
    to += kBytesTaken;
  }
  decoding = {from, end, to};
}

}  // namespace
}  // namespace zr::base64
