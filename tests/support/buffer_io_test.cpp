#include "support/buffer_io.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

// The value's bytes, most significant first, at an odd address between two guard bytes.
template <std::size_t kBytes>
struct OddBuffer {
  alignas(8) char bytes[16] = {};
  char* at() { return bytes + 1; }

  void fill(std::uint32_t value, bool bigEndian) {
    for (std::size_t i = 0; i < kBytes; ++i) {
      const std::size_t place = bigEndian ? i : kBytes - 1 - i;
      at()[place] = static_cast<char>(value >> (8 * (kBytes - 1 - i)));
    }
  }
  std::string all() const { return {bytes, sizeof bytes}; }
};

TEST(BufferIo, Every16BitPatternHasItsOrderAndComesBack) {
  for (std::uint32_t pattern = 0; pattern <= 0xFFFF; ++pattern) {
    auto value = static_cast<short>(pattern);
    for (const bool big : {true, false}) {
      OddBuffer<2> expected, written;
      expected.fill(pattern, big);
      (big ? zr_be_write_int2 : zr_le_write_int2)(written.at(), &value);
      ASSERT_EQ(written.all(), expected.all()) << pattern;
      short back = 0x55;
      (big ? zr_be_read_int2 : zr_le_read_int2)(expected.at(), &back);
      ASSERT_EQ(back, value);
    }
  }
}

TEST(BufferIo, 32BitPatternsHaveTheirOrderAndComeBack) {
  std::mt19937 random(20261124);
  for (int i = 0; i < 200000; ++i) {
    const std::uint32_t pattern = i < 64 ? (i < 32 ? 1U << i : ~(1U << (i - 32))) : random();
    auto value = static_cast<int>(pattern);
    for (const bool big : {true, false}) {
      OddBuffer<4> expected, written;
      expected.fill(pattern, big);
      (big ? zr_be_write_int4 : zr_le_write_int4)(written.at(), &value);
      ASSERT_EQ(written.all(), expected.all()) << pattern;
      int back = 0x55;
      (big ? zr_be_read_int4 : zr_le_read_int4)(expected.at(), &back);
      ASSERT_EQ(back, value);
    }
  }
}

TEST(BufferIo, SignedValuesComeFromTheirBitPattern) {
  int number = 0;
  zr_be_read_int4("\x80\x00\x00\x00", &number);
  EXPECT_EQ(number, -2147483647 - 1);
  zr_be_read_int4("\xFF\xFF\xFF\xFE", &number);
  EXPECT_EQ(number, -2);
  short small = 0;
  zr_be_read_int2("\xFF\xFE", &small);
  EXPECT_EQ(small, -2);
  zr_le_read_int2("\xFF\xFE", &small);
  EXPECT_EQ(small, -257);
}

}  // namespace
