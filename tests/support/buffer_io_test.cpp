#include "support/buffer_io.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>

namespace {

// Writes and reads the pattern at an odd address between two guard bytes, most significant byte first or last.
template <class Number, class Write, class Read>
void check(std::uint32_t pattern, bool bigEndian, Write write, Read read) {
  std::string expected, written(sizeof(Number) + 2, '#');
  for (std::size_t i = 0; i < sizeof(Number); ++i)
    expected.insert(bigEndian ? 0 : i, 1, static_cast<char>(pattern >> (8 * i)));
  auto value = static_cast<Number>(pattern);
  write(&written[1], &value);
  ASSERT_EQ(written, '#' + expected + '#') << pattern;
  Number back = 0x55;
  read(&written[1], &back);
  ASSERT_EQ(back, value);
}

TEST(BufferIo, PatternsHaveTheirOrderAndComeBack) {
  for (std::uint32_t i = 0; i <= 0xFFFF; ++i) {
    check<short>(i, true, zr_be_write_int2, zr_be_read_int2);
    check<short>(i, false, zr_le_write_int2, zr_le_read_int2);
    check<int>(i * 0x9E3779B1U, true, zr_be_write_int4, zr_be_read_int4);
    check<int>(i * 0x9E3779B1U, false, zr_le_write_int4, zr_le_read_int4);
  }
}

}  // namespace
