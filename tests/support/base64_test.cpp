#include "support/base64.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/base64_internal.h"

namespace {

using namespace zr::base64;

std::string taken(unsigned char* decoded, const unsigned& size) {
  const std::unique_ptr<unsigned char[]> bytes(decoded);
  bytes[size] = 0;  // there is room for one more
  return {reinterpret_cast<const char*>(bytes.get()), size};
}

// What the library makes of it; every way to convert that this machine has must agree. All memory is of just the size
// that is promised, for the address sanitizer.
std::string encoded(const std::string& bytes) {
  const std::vector<char> from(bytes.begin(), bytes.end());
  std::vector<char> to((bytes.size() + 2) / 3 * 4 + 1);
  const auto size = static_cast<int>(bytes.size());
  EXPECT_EQ(ToB64Enc(from.data(), to.data(), size), 0);
  const std::string text = to.data();
  for (const Path* path : usablePaths()) {
    encode(*path, from.data(), to.data(), size);
    EXPECT_EQ(to.data(), text) << path->name;
  }
  return text;
}

std::string decoded(const std::string& text) {
  const std::vector<char> from(text.c_str(), text.c_str() + text.size() + 1);
  unsigned size = 12345;
  const std::string bytes = taken(Base64Decode(from.data(), &size), size);
  for (const Path* path : usablePaths())
    EXPECT_EQ(taken(decode(*path, from.data(), &size), size), bytes) << path->name << ": " << text;
  return bytes;
}

// Bit by bit, as RFC 4648 describes it.
std::string decodedPlainly(const std::string& text) {
  std::string bits, bytes;
  for (const char c : text.substr(0, text.find('=')))
    if (const char* found = std::strchr(base64_table, c))
      for (int bit = 5; bit >= 0; --bit)
        bits += static_cast<char>('0' + ((found - base64_table) >> bit & 1));
  for (std::size_t i = 0; i + 8 <= bits.size(); i += 8)
    bytes += static_cast<char>(std::stoi(bits.substr(i, 8), nullptr, 2));
  return bytes;
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

TEST(Base64, TextsOfEveryLengthAndKindMeanTheSameOnEveryPath) {
  std::mt19937 random(4648);
  for (unsigned i = 0; i < 1200; ++i) {
    std::string bytes(i % 300, '\0');
    for (char& byte : bytes)
      byte = static_cast<char>(random());
    std::string text = encoded(bytes);
    ASSERT_EQ(decodedPlainly(text), bytes);
    for (unsigned strangers = i % 4; strangers > 0; --strangers)
      text.insert(random() % (text.size() + 1), 1, static_cast<char>(1 + random() % 255));
    ASSERT_EQ(decoded(text), decodedPlainly(text)) << text;
  }
}

}  // namespace
