#include "policy/entity_key_internal.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace zr {
namespace {

// Character classes in the locale of the calling thread. The C library's functions look their tables up anew for every
// character; with glibc one look for the whole key will do.
class CaseTable {
 public:
#ifdef __GLIBC__
  char lowered(unsigned char c) const {
    return static_cast<char>((m_classes[c] & static_cast<unsigned short>(_ISupper)) != 0 ? m_lower[c] : c);
  }
  char raised(unsigned char c) const {
    return static_cast<char>(m_upper[c]);
  }

 private:
  const unsigned short* m_classes = *__ctype_b_loc();
  const std::int32_t* m_lower = *__ctype_tolower_loc();
  const std::int32_t* m_upper = *__ctype_toupper_loc();
#else
  char lowered(unsigned char c) const {
    return static_cast<char>(std::isupper(c) != 0 ? std::tolower(c) : c);
  }
  char raised(unsigned char c) const {
    return static_cast<char>(std::toupper(c));
  }
#endif
};

// One octet in decimal without leading zeros (those mean octal); moves `at` behind it. Answers -1 for anything else.
int readOctet(const char*& at) {
  int value = 0;
  const char* const start = at;
  while (*at >= '0' && *at <= '9' && at - start < 3)
    value = value * 10 + (*at++ - '0');
  const bool plain = at != start && (*start != '0' || at - start == 1);
  return plain && value <= 255 ? value : -1;
}

// The low 8 bits of the number that strtol reads. Numbers are cut to 32 bits as a 32-bit long would cut them, so that
// the answer is the same wherever the library runs.
unsigned readEntityByte(const char* digits) {
  using Limits = std::numeric_limits<std::int32_t>;
  const long number = std::strtol(digits, nullptr, 10);
  return static_cast<unsigned>(std::clamp<long>(number, Limits::min(), Limits::max())) & 0xFFU;
}

}  // namespace

std::uint32_t parseAddress(const char* text) {
  unsigned char octets[4];
  const char* at = text;
  for (int i = 0; i < 4; ++i) {
    const int octet = readOctet(at);
    if (octet < 0 || *at != (i < 3 ? '.' : '\0')) return inet_addr(text);
    octets[i] = static_cast<unsigned char>(octet);
    ++at;
  }
  std::uint32_t address = 0;
  std::memcpy(&address, octets, sizeof address);
  return address;
}

std::uint32_t addressOrder(std::uint32_t networkOrder) {
  return ntohl(networkOrder);
}

void upperCase(char* text, std::size_t length) {
  const CaseTable table;
  for (char* at = text; at != text + length; ++at)
    *at = table.raised(static_cast<unsigned char>(*at));
}

std::string decodeLatinEntities(const std::string& text) {
  const char* const begin = text.c_str();
  const char* entity = std::strstr(begin, "&#");
  if (entity == nullptr) return text;
  std::string decoded;
  const char* copied = begin;
  for (; entity != nullptr; entity = std::strstr(copied, "&#")) {
    const char* const digits = entity + 2;
    const unsigned byte = readEntityByte(digits);
    const char* const semicolon = std::strchr(digits, ';');
    if (byte < 128 || semicolon == nullptr) return text;
    decoded.append(copied, entity);
    decoded += static_cast<char>(0xC0U | (byte >> 6));
    decoded += static_cast<char>(0x80U | (byte & 0x3FU));
    copied = semicolon + 1;
  }
  return decoded.append(copied, begin + text.size());
}

SearchKey::SearchKey(std::string_view text) : m_length(text.size()) {
  if (m_length >= kShort) m_long.reset(new char[m_length + 1]);
  std::memcpy(data(), text.data(), m_length);
  data()[m_length] = '\0';
}

SearchKey SearchKey::normalised(const char* text) {
  SearchKey key{std::string_view(text)};
  if (key.view() == "POP3_Mail_Sender") return key;
  const CaseTable table;
  char* const data = key.data();
  for (char* at = data; at != data + key.m_length; ++at)
    *at = table.lowered(static_cast<unsigned char>(*at));
  return key;
}

SearchKey SearchKey::upperCased(const SearchKey& key) {
  SearchKey raised{key.view()};
  upperCase(raised.data(), raised.m_length);
  return raised;
}

}  // namespace zr
