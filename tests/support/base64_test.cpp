#include "support/base64.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

std::string encoded(const std::string& bytes) {
  std::vector<char> text((bytes.size() + 2) / 3 * 4 + 1, '#');  // not a byte more, for the address sanitizer
  EXPECT_EQ(ToB64Enc(bytes.data(), text.data(), static_cast<int>(bytes.size())), 0);
  return text.data();
}

std::string decoded(const std::string& text) {
  unsigned int size = 12345;
  const std::unique_ptr<unsigned char[]> bytes(Base64Decode(text.c_str(), &size));
  bytes[size] = 0;  // there is room for one more
  return {reinterpret_cast<const char*>(bytes.get()), size};
}

TEST(Base64, BytesBecomePaddedText) {
  for (const auto& [bytes, text] : {std::pair<std::string, std::string>{"Man", "TWFu"},
                                    {"Ma", "TWE="},
                                    {"M", "TQ=="},
                                    {"", ""},
                                    {std::string("\0\x10\x83\x10\x51\x87", 6), "ABCDEFGH"},
                                    {"\xFB\xF0\xFF\xBF", "+/D/vw=="}}) {
    EXPECT_EQ(encoded(bytes), text);
    EXPECT_EQ(decoded(text), bytes);
  }
  char untouched[2] = {'#', '#'};
  ToB64Enc(nullptr, untouched, -3);
  EXPECT_EQ(untouched[0], '\0');
  EXPECT_EQ(encoded(std::string(65536, 'x')).size(), 87384U);
}

TEST(Base64, DecodingSkipsStrangersAndEndsAtThePadding) {
  for (const auto& [text, bytes] : {std::pair{"TWE", "Ma"},
                                    {"\r\nTWFu\r\nTWFu", "ManMan"},
                                    {"TWE=TWFu", "Ma"},
                                    {"TWFuT-_ ", "Man"},
                                    {"==", ""},
                                    {"T\xC3\xA9WFu", "Man"},
                                    {"TWFuTWFu*TWE", "ManManMa"}})
    EXPECT_EQ(decoded(text), bytes) << text;
}

TEST(Base64, EveryByteSurvivesAtEveryPlace) {
  std::string bytes;
  for (int i = 0; i < 1000; ++i) {
    bytes += static_cast<char>(i * 31 + i / 256);
    EXPECT_EQ(decoded(encoded(bytes)), bytes);
  }
}

}  // namespace
