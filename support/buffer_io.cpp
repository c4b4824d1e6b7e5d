#include "support/buffer_io.h"

#include <cstdint>
#include <cstring>
#include <endian.h>

namespace {

static_assert(sizeof(int) == 4 && sizeof(short) == 2);

// A buffer may begin at any address: memcpy is what allows that, and comes down to one move.
template <typename Bits>
void store(char* buffer, Bits bits) {
  std::memcpy(buffer, &bits, sizeof bits);
}

template <typename Bits>
Bits load(const char* buffer) {
  Bits bits;
  std::memcpy(&bits, buffer, sizeof bits);
  return bits;
}

}  // namespace

void zr_be_write_int4(char* buffer, int* value) {
  store(buffer, htobe32(static_cast<std::uint32_t>(*value)));
}

void zr_be_read_int4(const char* buffer, int* value) {
  *value = static_cast<int>(be32toh(load<std::uint32_t>(buffer)));
}

void zr_be_write_int2(char* buffer, short* value) {
  store(buffer, htobe16(static_cast<std::uint16_t>(*value)));
}

void zr_be_read_int2(const char* buffer, short* value) {
  *value = static_cast<short>(be16toh(load<std::uint16_t>(buffer)));
}

void zr_le_write_int4(char* buffer, int* value) {
  store(buffer, htole32(static_cast<std::uint32_t>(*value)));
}

void zr_le_read_int4(const char* buffer, int* value) {
  *value = static_cast<int>(le32toh(load<std::uint32_t>(buffer)));
}

void zr_le_write_int2(char* buffer, short* value) {
  store(buffer, htole16(static_cast<std::uint16_t>(*value)));
}

void zr_le_read_int2(const char* buffer, short* value) {
  *value = static_cast<short>(le16toh(load<std::uint16_t>(buffer)));
}
