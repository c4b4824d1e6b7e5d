#ifndef ZR_POLICY_ENTITY_KEY_INTERNAL_H
#define ZR_POLICY_ENTITY_KEY_INTERNAL_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zr {

// What inet_addr answers for a text that is no address (and for 255.255.255.255).
inline constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

// The address of `text` as inet_addr gives it: in network byte order, kNoAddress when it is none. Plain dotted decimal
// is read here (inet_pton takes the same texts, and a quarter longer); every other form, however odd, goes to
// inet_addr.
std::uint32_t parseAddress(const char* text);

// An address of inet_addr with the first octet most significant, so that numbers compare as addresses do.
std::uint32_t addressOrder(std::uint32_t networkOrder);

// Changes every byte by toupper, in the process's locale.
void upperCase(char* text, std::size_t length);

// Decodes the HTML numeric entities of the Latin-1 range; see ZrPolicyCache::UnescapeLatinHtmlUnicode.
std::string decodeLatinEntities(const std::string& text);

// A zero-terminated key made for one search. Keys of ordinary length stay on the stack; the constructors throw
// std::bad_alloc for longer ones when memory has run out.
class SearchKey {
 public:
  // The form in which keys are searched: lower case by isupper and tolower in the process's locale, except for
  // "POP3_Mail_Sender", which keeps its capitals.
  static SearchKey normalised(const char* text);
  // A copy in upper case.
  static SearchKey upperCased(const SearchKey& key);

  const char* c_str() const { return m_long ? m_long.get() : m_short; }
  std::string_view view() const { return {c_str(), m_length}; }

 private:
  static constexpr std::size_t kShort = 64;

  explicit SearchKey(std::string_view text);
  char* data() { return m_long ? m_long.get() : m_short; }

  std::size_t m_length;
  std::unique_ptr<char[]> m_long;
  char m_short[kShort];
};

}  // namespace zr

#endif  // ZR_POLICY_ENTITY_KEY_INTERNAL_H
