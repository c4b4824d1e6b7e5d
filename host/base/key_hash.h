#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace zrhost {

// A number for a key, of which any bits may be used; eight bytes at a time, as the tables here are asked for short keys
// all the time. Who fills them are the administrators, so nothing is done against keys made to collide.
inline std::uint64_t hashKey(std::string_view key) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15U;
  std::uint64_t hash = key.size() * kFactor;
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * kFactor;
    hash ^= hash >> 32U;
  };
  while (key.size() >= sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, key.data(), sizeof word);
    mix(word);
    key.remove_prefix(sizeof word);
  }
  std::uint64_t rest = 0;
  for (const char byte : key)
    rest = rest << 8U | static_cast<unsigned char>(byte);
  mix(rest);
  hash *= kFactor;  // the first bytes of the rest have reached but the high bits so far
  return hash ^ hash >> 32U;
}

}  // namespace zrhost
