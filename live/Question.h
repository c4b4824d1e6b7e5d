#ifndef ZR_LIVE_QUESTION_H
#define ZR_LIVE_QUESTION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/export.h"

namespace zrlive {

// What is asked in one go: any number of parts, looked up in the order in which they were added. Each policy is
// answered once, by the first of its links that is found, so the order counts.
//
// Made to be used again: clear() keeps the memory. Threads: one at a time; asking it only reads.
class ZR_EXPORT Question {
 public:
  enum class Kind : std::uint8_t {
    kUser,
    kGroup,
    kHost,
    kAddress,  // the links of the one IPv4 address, then those of the ranges that hold it
    kOther,
    kDefault,  // the default policy; has no key
    kAll,      // every user, group and other link; has no key
  };

  // Keys are of any bytes but zero, in any case ("POP3_Mail_Sender" alone is not changed to lower case). The texts are
  // copied. Each throws LiveError kUsage for a key that no lookup would be made with, and leaves the question as it
  // was: an empty one, one with a zero byte, an address that is none (see isAddress).
  Question& addUser(std::string_view name) { return add(Kind::kUser, name); }
  Question& addGroup(std::string_view name) { return add(Kind::kGroup, name); }
  Question& addHost(std::string_view name) { return add(Kind::kHost, name); }
  Question& addAddress(std::string_view address) { return add(Kind::kAddress, address); }
  Question& addOther(std::string_view key) { return add(Kind::kOther, key); }
  Question& addDefault() { return add(Kind::kDefault, {}); }
  Question& addAll() { return add(Kind::kAll, {}); }
  Question& add(Kind kind, std::string_view key);
  // As add, but answers false for such a key.
  bool tryAdd(Kind kind, std::string_view key);

  // Whether the groups that the question's users are in are asked too: directly behind the last user, in ascending
  // order of their names' bytes, each once. Without a user it asks nothing.
  Question& setMembers(bool wanted) {
    m_members = wanted;
    return *this;
  }
  bool members() const { return m_members; }

  // Takes all parts out, and members().
  void clear();
  bool empty() const { return m_parts.empty(); }
  std::size_t size() const { return m_parts.size(); }
  Kind kind(std::size_t part) const { return m_parts[part].kind; }
  // Ended by a zero byte; valid until the question is changed.
  std::string_view key(std::size_t part) const {
    return std::string_view(m_text).substr(m_parts[part].start, m_parts[part].size);
  }

  // Of a part kAddress, as inet_addr gives it: in network byte order.
  std::uint32_t address(std::size_t part) const { return m_parts[part].address; }
  // Of all keys together, each with a byte more.
  std::size_t textSize() const { return m_text.size(); }

  // Whether a text is an address that can be asked for: IPv4 as inet_addr reads it, nothing before or behind it, and
  // not 255.255.255.255.
  static bool isAddress(std::string_view text);

 private:
  struct Part {
    std::size_t start, size;
    std::uint32_t address;
    Kind kind;
  };

  std::string m_text;  // the keys, each ended by a zero byte
  std::vector<Part> m_parts;
  bool m_members = false;
};

}  // namespace zrlive

#endif  // ZR_LIVE_QUESTION_H
