#include "support/buffer_io.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

// Writes and reads the pattern in one byte order, at an odd address between two guard bytes.
template <class Number, class Write, class Read>
void check(std::uint32_t pattern, bool bigEndian, Write write, Read read) {
  std::string expected(sizeof(Number) + 2, '#');
  for (std::size_t i = 0; i < sizeof(Number); ++i) {
    const std::size_t significance = bigEndian ? sizeof(Number) - 1 - i : i;
    expected[1 + i] = static_cast<char>(pattern >> (8 * significance));
  }
  alignas(8) char written[sizeof(Number) + 2];
  written[0] = written[sizeof(Number) + 1] = '#';
  auto value = static_cast<Number>(pattern);
  write(written + 1, &value);
  ASSERT_EQ(std::string(written, sizeof written), expected) << pattern;
  Number back = 0x55;
  read(written + 1, &back);
  ASSERT_EQ(back, value);
}

TEST(BufferIo, PatternsHaveTheirOrderAndComeBack) {
  for (std::uint32_t pattern = 0; pattern <= 0xFFFF; ++pattern) {
    check<short>(pattern, true, zr_be_write_int2, zr_be_read_int2);
    check<short>(pattern, false, zr_le_write_int2, zr_le_read_int2);
  }
  std::mt19937 random(20261124);
  for (int i = 0; i < 200000; ++i) {
    const std::uint32_t pattern = i < 64 ? (i < 32 ? 1U << i : ~(1U << (i - 32))) : random();
    check<int>(pattern, true, zr_be_write_int4, zr_be_read_int4);
    check<int>(pattern, false, zr_le_write_int4, zr_le_read_int4);
  }
}

}  // namespace
