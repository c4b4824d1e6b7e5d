#include "host/load/search_key.h"

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace zrhost {
namespace {

// Whether the calling thread's locale is "C", where A to Z alone have a case: programs that set no other run in it.
bool isInLocaleC() {
#ifdef __GLIBC__
  static const locale_t plain = newlocale(LC_CTYPE_MASK, "C", nullptr);
  return plain != nullptr && *__ctype_b_loc() == plain->__ctype_b && *__ctype_tolower_loc() == plain->__ctype_tolower &&
         *__ctype_toupper_loc() == plain->__ctype_toupper;
#else
  return false;
#endif
}

constexpr std::uint64_t kEach = 0x0101010101010101U, kHigh = 0x80 * kEach;

// The bytes of eight that are from `first` to `last`, as their bits 0x20.
std::uint64_t caseBits(std::uint64_t bytes, unsigned char first, unsigned char last) {
  const std::uint64_t low = bytes & ~kHigh;
  const std::uint64_t fromFirst = low + (0x80U - first) * kEach, beyondLast = low + (0x7FU - last) * kEach;
  return (fromFirst & ~beyondLast & ~bytes & kHigh) >> 2U;
}

// Flips the case of the letters from `first` to `last`.
void flip(char* key, std::size_t size, unsigned char first, unsigned char last) {
  for (; size >= sizeof(std::uint64_t); key += sizeof(std::uint64_t), size -= sizeof(std::uint64_t)) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, key, sizeof bytes);
    bytes ^= caseBits(bytes, first, last);
    std::memcpy(key, &bytes, sizeof bytes);
  }
  for (; size > 0; ++key, --size)
    *key = static_cast<char>(*key ^ (*key >= static_cast<char>(first) && *key <= static_cast<char>(last) ? 0x20 : 0));
}

void lower(char* key, std::size_t size) {
  std::transform(key, key + size, key,
                 [](unsigned char c) { return static_cast<char>(std::isupper(c) != 0 ? std::tolower(c) : c); });
}

void upper(char* key, std::size_t size) {
  std::transform(key, key + size, key, [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
}

}  // namespace

void makeSearchKey(ZrEntityType type, char* key, std::size_t size) {
  constexpr std::string_view kKept = "POP3_Mail_Sender";
  const bool isHost = type == ZrEntityType::HOSTNAME;
  if (isInLocaleC()) {
    if (isHost) return flip(key, size, 'a', 'z');
    if (std::string_view(key, size) != kKept) flip(key, size, 'A', 'Z');
    return;
  }
  if (std::string_view(key, size) != kKept) lower(key, size);
  if (isHost) upper(key, size);
}

}  // namespace zrhost
