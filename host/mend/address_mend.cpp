#include "host/mend/address_mend.h"

#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <cstring>

#include "host/base/strict_number.h"
#include "host/mend/name_mend.h"

namespace zrhost {
namespace {

constexpr unsigned kBits = 32;
constexpr unsigned kMappedBits = 96;  // of an IPv4 address written as IPv6, in front of it
constexpr const char* kNoAddress = "255.255.255.255";

// An address with its first octet most significant, so that numbers compare as addresses do.
struct Address {
  std::uint32_t number;
  bool isMapped;
};

std::string dotted(std::uint32_t number) {
  const std::uint32_t networkOrder = htonl(number);
  std::array<char, INET_ADDRSTRLEN> text{};
  return ::inet_ntop(AF_INET, &networkOrder, text.data(), text.size());
}

// Nothing for what is read otherwise than it looks ("010.0.0.1", "10.1").
std::optional<Address> addressOf(std::string_view text) {
  if (text.size() >= INET6_ADDRSTRLEN || text.find('\0') != std::string_view::npos) return std::nullopt;
  const std::string word(text);
  std::uint32_t networkOrder = 0;
  if (::inet_pton(AF_INET, word.c_str(), &networkOrder) == 1) return Address{ntohl(networkOrder), false};
  in6_addr long_form{};
  if (::inet_pton(AF_INET6, word.c_str(), &long_form) != 1 || !IN6_IS_ADDR_V4MAPPED(&long_form)) return std::nullopt;
  std::memcpy(&networkOrder, long_form.s6_addr + kMappedBits / 8, sizeof networkOrder);
  return Address{ntohl(networkOrder), true};
}

AddressMeaning single(std::uint32_t number) {
  if (number == UINT32_MAX) return {};
  return {StoredAddress{ZrEntityType::IP, dotted(number)}, {}};
}

AddressMeaning range(std::uint32_t first, std::uint32_t last) {
  if (first > last) return {{}, "has its first address above the last, so that no address lies in it"};
  if (last == UINT32_MAX) {
    return {{},
            std::string("goes up to ") + kNoAddress + ", which stands for no address; a range may end at " +
                dotted(UINT32_MAX - 1)};
  }
  if (first == last) return single(first);
  return {StoredAddress{ZrEntityType::IP_RANGE, dotted(first) + kRangeSeparator + dotted(last)}, {}};
}

AddressMeaning network(std::string_view front, std::string_view behind) {
  const auto address = addressOf(front);
  if (!address) return {};
  const unsigned before = address->isMapped ? kMappedBits : 0;
  const auto prefix = strictNumber(behind, before, before + kBits);
  if (!prefix) return {};
  const auto bits = static_cast<unsigned>(*prefix) - before;
  const std::uint32_t hosts = bits == kBits ? 0 : UINT32_MAX >> bits;
  const std::uint32_t first = address->number & ~hosts;
  if (first == address->number) return range(first, first | hosts);
  return {
      {},
      "does not begin with the first address of its network, which is " + dotted(first) + '/' + std::to_string(bits)};
}

// Whether loading takes a text that holds a separator there for the address in front of it.
bool isTakenForFirst(ZrEntityType type, std::string_view text, std::size_t separator) {
  return type == ZrEntityType::IP && separator > 0 && kBlanks.find(text[separator - 1]) != std::string_view::npos;
}

AddressMeaning twoSides(ZrEntityType type, std::string_view text, std::size_t separator) {
  const std::string_view front = trimmed(text.substr(0, separator)), behind = trimmed(text.substr(separator + 1));
  const auto first = addressOf(front), last = addressOf(behind);
  if (text[separator] == '~' && first && behind.empty()) return single(first->number);
  if (text[separator] == '~' && last && front.empty() && type == ZrEntityType::IP_RANGE) return single(last->number);
  if (!first || !last) return {};
  AddressMeaning meaning = range(first->number, last->number);
  const bool isRange = !meaning.stored || meaning.stored->type == ZrEntityType::IP_RANGE;
  return isRange && isTakenForFirst(type, text, separator) ? AddressMeaning{} : meaning;
}

}  // namespace

AddressMeaning meaningOfAddress(ZrEntityType type, std::string_view text) {
  text = trimmed(text);
  if (const auto address = addressOf(text)) return single(address->number);
  const std::size_t slash = text.find('/');
  if (slash != std::string_view::npos) return network(trimmed(text.substr(0, slash)), trimmed(text.substr(slash + 1)));
  const std::size_t separator = text.find_first_of("~-");
  return separator == std::string_view::npos ? AddressMeaning{} : twoSides(type, text, separator);
}

}  // namespace zrhost
