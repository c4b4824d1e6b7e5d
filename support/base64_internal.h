#ifndef ZR_SUPPORT_BASE64_INTERNAL_H
#define ZR_SUPPORT_BASE64_INTERNAL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#if defined(__x86_64__) || defined(__i386__)
#define ZR_BASE64_ON_X86
#endif

namespace zr::base64 {

inline constexpr char base64_table[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
inline constexpr std::size_t kAlphabetSize = 64;
inline constexpr std::uint8_t kOutside = 255;

// The value of every character, kOutside for those that have none.
inline constexpr auto kValues = [] {
  std::array<std::uint8_t, 256> values{};
  for (std::uint8_t& value : values)
    value = kOutside;
  for (std::size_t index = 0; index < kAlphabetSize; ++index) {
    values[static_cast<unsigned char>(base64_table[index])] = static_cast<std::uint8_t>(index);
  }
  return values;
}();

// How far a conversion has come. `to` has room for everything that is left between `from` and `end`: four characters
// for each three bytes begun, or three bytes for each four characters and three more.
struct Encoding {
  const unsigned char* from;
  const unsigned char* end;
  char* to;
};
struct Decoding {
  const unsigned char* from;
  const unsigned char* end;
  unsigned char* to;
};

// A way to convert the whole groups at the front. It takes as many as it likes, up to the first group with a character
// outside the alphabet, and reads and writes nothing beyond `end` and the room that `to` has; what is behind `to` in
// that room may change.
struct Path {
  const char* name;
  void (*encodeGroups)(Encoding&);
  void (*decodeGroups)(Decoding&);
};

extern const Path kPortable;
#ifdef ZR_BASE64_ON_X86
extern const Path kSsse3;
extern const Path kAvx2;
#endif

// Those that this machine can run, the fastest first.
std::span<const Path* const> usablePaths();

// What ToB64Enc and Base64Decode do, along one path.
void encode(const Path& path, const char* src, char* dst, int len);
unsigned char* decode(const Path& path, const char* src, unsigned int* outLen);

}  // namespace zr::base64

#endif  // ZR_SUPPORT_BASE64_INTERNAL_H
