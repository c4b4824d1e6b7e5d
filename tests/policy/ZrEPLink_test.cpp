#include "policy/ZrEPLink.h"

#include <gtest/gtest.h>

#include "policy/policy_objects.h"

namespace {

// The number that a little-endian machine has for the network order of a.b.c.d.
constexpr std::uint32_t ip(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  return a | b << 8 | c << 16 | d << 24;
}

constexpr std::uint32_t kKept = 7;
constexpr const char* kFirstBad = "const char*: Invalid IP address - 1";
constexpr const char* kSecondBad = "const char*: Invalid IP address - 2";

TEST(ZrEPLink, AddressTextIsReadLikeTwoWordsWithATildeBetween) {
  const std::uint32_t one = ip(10, 0, 0, 1);
  const std::uint32_t nine = ip(10, 0, 0, 9);
  const struct {
    std::string text;
    std::string thrown;
    std::uint32_t from, to;
  } cases[] = {
      {"192.168.1.10", "nothing", ip(192, 168, 1, 10), kKept},
      {"10.0.0.1 ~ 10.0.0.9", "nothing", one, nine},
      {" \t10.0.0.1\n~10.0.0.9 and more", "nothing", one, nine},
      {"10.0.0.1~10.0.0.9", kFirstBad, kKept, kKept},
      {"10.0.0.1 ~", "nothing", one, kKept},
      {"192.168.100.100~10.0.0.9", "nothing", ip(192, 168, 100, 100), nine},  // the tilde follows 15 characters
      {"0000000000000010.0.0.1", "nothing", ip(0, 0, 0, 1), kKept},           // cut at 15 characters: octal 1
      {"10.0.0.1 ~ 10.0.0.1234567890", kSecondBad, one, kKept},
      {"", "const char*: Empty string without IP address value", kKept, kKept},
      {"   ", "nothing", kKept, kKept},
      {"~ 10.0.0.1", kFirstBad, kKept, kKept},
      {"10.0.0.1 ~ 255.255.255.255", kSecondBad, one, kKept},
      {"010.0x10.3", "nothing", ip(8, 16, 0, 3), kKept},
      {"10.0.0.0255", "nothing", ip(10, 0, 0, 173), kKept},  // octal, four digits
  };
  for (const auto& tried : cases) {
    ZrEPLink link;
    link.m_entityName = tried.text;
    link.m_ipFrom = link.m_ipTo = kKept;
    EXPECT_EQ(zrtest::thrownBy([&] { link.convertIP(); }), tried.thrown) << tried.text;
    EXPECT_EQ(link.m_ipFrom, tried.from) << tried.text;
    EXPECT_EQ(link.m_ipTo, tried.to) << tried.text;
  }
}

}  // namespace
