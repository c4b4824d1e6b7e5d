#include "host/check/address_check_internal.h"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>

#include "host/check/check_text_internal.h"
#include "host/mend/address_mend.h"
#include "host/mend/name_mend.h"

namespace zrhost {
namespace {

// The two sides of the tilde, or the one text where there is none, without the blanks around them.
struct Sides {
  explicit Sides(std::string_view text) {
    const std::size_t tilde = text.find('~');
    first = trimmed(text.substr(0, tilde));
    if (tilde != std::string_view::npos) last = trimmed(text.substr(tilde + 1));
  }
  std::string_view first;
  std::string_view last;
};

std::string dotted(std::uint32_t networkOrder) {
  std::array<char, INET_ADDRSTRLEN> text{};
  return ::inet_ntop(AF_INET, &networkOrder, text.data(), text.size());
}

std::vector<ColumnValue> nameBecomes(const std::string& name) {
  return {{kEntityName, name}};
}

Fault odd(const std::string& text, const std::string& readAs, bool isSure) {
  return {FindingCode::kOddAddress, quotedText(text) + " is read as " + readAs, "write it as '" + readAs + "'",
          isSure ? nameBecomes(readAs) : std::vector<ColumnValue>{}};
}

void checkRange(const std::string& text, const ZrEPLink& link, std::vector<Fault>& faults) {
  const Sides sides(text);
  const std::string first = dotted(link.m_ipFrom), last = dotted(link.m_ipTo);
  if (sides.first != first || sides.last != last) faults.push_back(odd(text, first + kRangeSeparator + last, true));
  if (addressNumber(link.m_ipFrom) <= addressNumber(link.m_ipTo)) return;
  faults.push_back(
      {FindingCode::kReversedRange,
       "the first address of the range " + quotedText(text) + " is above the last, so that no address lies in it",
       "write it as '" + last + kRangeSeparator + first + "' if that is meant"});
}

// The part of a single address's text that a person takes for another address; empty when there is none.
std::string_view secondAddress(const Sides& sides, LinkJudge& judge) {
  if (!sides.last.empty()) return sides.last;
  const std::size_t blank = sides.first.find_first_of(kBlanks);
  if (blank == std::string_view::npos) return {};
  std::string_view rest = trimmed(sides.first.substr(blank));
  if (rest.starts_with('-')) rest = trimmed(rest.substr(1));
  return judge.takes(ZrPolicyCache::IP, rest) ? rest : std::string_view();
}

void checkSingle(const std::string& text, const ZrEPLink& link, LinkJudge& judge, std::vector<Fault>& faults) {
  const std::string readAs = dotted(link.m_ipFrom);
  if (trimmed(text) == readAs) return;
  const Sides sides(text);
  const std::string_view second = secondAddress(sides, judge);
  if (second.empty()) return faults.push_back(odd(text, readAs, true));
  if (sides.first.substr(0, sides.first.find_first_of(kBlanks)) != readAs) faults.push_back(odd(text, readAs, false));
  faults.push_back(
      {FindingCode::kSecondAddress,
       "the single address " + quotedText(text) + " has a second one, " + quotedText(second) + ", which is ignored",
       "make it a range of entity_type 5, or remove the second address"});
}

// The finding about a refused text that holds an IPv6 address; nothing when it holds none.
std::optional<Fault> ofIpv6(const std::string& text, const Sides& sides) {
  for (const std::string_view side : {sides.first, sides.last}) {
    in6_addr address{};
    const std::string word(side.substr(0, side.find_first_of("/%- ")));
    if (::inet_pton(AF_INET6, word.c_str(), &address) != 1) continue;
    std::uint32_t mapped = 0;
    std::memcpy(&mapped, address.s6_addr + 12, sizeof mapped);
    return Fault{
        FindingCode::kBadAddress, quotedText(text) + " holds an IPv6 address, and links name IPv4 addresses only",
        IN6_IS_ADDR_V4MAPPED(&address) ? "write '" + dotted(mapped) + "' for " + quotedText(word) : "remove the link"};
  }
  return std::nullopt;
}

// A range of which only one side is there, and nothing else.
Fault half(const std::string& text, std::string_view rest, const std::string& address) {
  const bool isSure = rest.find_first_of(kBlanks) == std::string_view::npos;
  return {FindingCode::kHalfRange, "the range " + quotedText(text) + " has only one address",
          isSure ? "make it the single address '" + address + "' with entity_type 4, or write the other one"
                 : "write two addresses with ' ~ ' between them",
          isSure ? std::vector<ColumnValue>{{"entity_type", "4"}, {kEntityName, address}} : std::vector<ColumnValue>{}};
}

Fault withoutBlanks(const std::string& text, const Sides& sides) {
  return {FindingCode::kBadAddress, quotedText(text) + " has no blanks around the tilde, so that it is no range",
          "write it as '" + std::string(sides.first) + kRangeSeparator + std::string(sides.last) + "'"};
}

std::vector<ColumnValue> linkBecomes(ZrPolicyCache::EntityType type, const StoredAddress& stored) {
  std::vector<ColumnValue> mend = nameBecomes(stored.text);
  if (stored.type != type) mend.insert(mend.begin(), {"entity_type", std::to_string(stored.type)});
  return mend;
}

// A text that loading refuses and that can yet mean one thing only.
Fault otherForm(ZrPolicyCache::EntityType type, const std::string& text, const StoredAddress& stored) {
  return {FindingCode::kBadAddress, quotedText(text) + " is not in the form in which addresses and ranges are read",
          "write it as '" + stored.text + "' with entity_type " + std::to_string(stored.type),
          linkBecomes(type, stored)};
}

bool isBroadcast(std::string_view text) {
  in_addr address{};
  return ::inet_aton(std::string(text).c_str(), &address) == 1 && address.s_addr == INADDR_BROADCAST;
}

Fault bad(const std::string& text, const Sides& sides) {
  if (trimmed(text).empty()) return {FindingCode::kBadAddress, "there is no address", "write one, or remove the link"};
  if (isBroadcast(sides.first) || isBroadcast(sides.last)) {
    return {FindingCode::kBadAddress, quotedText(text) + " holds 255.255.255.255, which stands for no address",
            "leave it out; a range may end at 255.255.255.254"};
  }
  return {FindingCode::kBadAddress, quotedText(text) + " is no IPv4 address that can be read",
          text.find('/') == std::string::npos
              ? "write addresses as in '10.0.0.1', ranges as in '10.0.0.1 ~ 10.0.0.9'"
              : "write a network as a range of entity_type 5, as in '10.0.0.0 ~ 10.0.0.255'"};
}

}  // namespace

std::uint32_t addressNumber(std::uint32_t networkOrder) {
  return ntohl(networkOrder);
}

void checkAddress(const std::string& text, const ZrEPLink& link, LinkJudge& judge, std::vector<Fault>& faults) {
  if (link.m_entityType == ZrPolicyCache::IP_RANGE) return checkRange(text, link, faults);
  checkSingle(text, link, judge, faults);
}

void explainRefusedAddress(ZrPolicyCache::EntityType type, const std::string& text, LinkJudge& judge,
                           std::vector<Fault>& faults) {
  if (judge.takes(type, text)) return;
  const Sides sides(text);
  const std::string_view rest = sides.first.empty() ? sides.last : sides.last.empty() ? sides.first : trimmed(text);
  const AddressMeaning meaning = meaningOfAddress(type, text);
  const bool isRange = meaning.stored && meaning.stored->type == ZrPolicyCache::IP_RANGE;
  if (!meaning.fault.empty()) {
    faults.push_back(
        {FindingCode::kBadAddress, quotedText(text) + ' ' + meaning.fault, "correct it, or remove the link"});
  } else if (auto ipv6 = ofIpv6(text, sides)) {
    if (meaning.stored) ipv6->mend = linkBecomes(type, *meaning.stored);
    faults.push_back(*ipv6);
  } else if (!isRange && type == ZrPolicyCache::IP_RANGE && judge.takes(ZrPolicyCache::IP, rest)) {
    faults.push_back(half(text, rest, dotted(judge.filed().link->m_ipFrom)));
  } else if (meaning.stored) {
    faults.push_back(otherForm(type, text, *meaning.stored));
  } else if (!sides.first.empty() && judge.takes(ZrPolicyCache::IP_RANGE, std::string(sides.first) + kRangeSeparator +
                                                                              std::string(sides.last))) {
    faults.push_back(withoutBlanks(text, sides));
  } else {
    faults.push_back(bad(text, sides));
  }
}

}  // namespace zrhost
