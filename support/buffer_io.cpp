#include "support/buffer_io.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace {

static_assert(sizeof(int) == 4 && sizeof(short) == 2);

std::uint32_t swapped(std::uint32_t bits) {
  return __builtin_bswap32(bits);
}

std::uint16_t swapped(std::uint16_t bits) {
  return __builtin_bswap16(bits);
}

// The bits as they must lie in memory to have the order kOrder, and back again: swapping is its own inverse.
template <std::endian kOrder, typename Bits>
Bits ordered(Bits bits) {
  return std::endian::native == kOrder ? bits : swapped(bits);
}

// memcpy is what allows any address; it comes down to one move.
template <std::endian kOrder, typename Bits, typename Value>
void store(char* buffer, const Value* value) {
  const Bits bits = ordered<kOrder>(static_cast<Bits>(*value));
  std::memcpy(buffer, &bits, sizeof bits);
}

template <std::endian kOrder, typename Bits, typename Value>
void fetch(const char* buffer, Value* value) {
  Bits bits;
  std::memcpy(&bits, buffer, sizeof bits);
  *value = static_cast<Value>(ordered<kOrder>(bits));
}

}  // namespace

void zr_be_write_int4(char* buffer, int* value) {
  store<std::endian::big, std::uint32_t>(buffer, value);
}

void zr_be_read_int4(const char* buffer, int* value) {
  fetch<std::endian::big, std::uint32_t>(buffer, value);
}

void zr_be_write_int2(char* buffer, short* value) {
  store<std::endian::big, std::uint16_t>(buffer, value);
}

void zr_be_read_int2(const char* buffer, short* value) {
  fetch<std::endian::big, std::uint16_t>(buffer, value);
}

void zr_le_write_int4(char* buffer, int* value) {
  store<std::endian::little, std::uint32_t>(buffer, value);
}

void zr_le_read_int4(const char* buffer, int* value) {
  fetch<std::endian::little, std::uint32_t>(buffer, value);
}

void zr_le_write_int2(char* buffer, short* value) {
  store<std::endian::little, std::uint16_t>(buffer, value);
}

void zr_le_read_int2(const char* buffer, short* value) {
  fetch<std::endian::little, std::uint16_t>(buffer, value);
}
