#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "policy/ZrEPLink.h"

namespace zrhost {

// The text in single quotes.
std::string inQuotes(std::string_view text);

// "2 links", "1 link"
std::string counted(std::size_t number, const char* word);

// "link 12", or "the default policy" for the link that is in no table.
std::string linkName(const ZrEPLink& link);

// "has kinds 5, 17", "has kind 5" or "has no rules".
std::string kindsOf(const ZrPolicy& policy);

// An address that inet_addr reads, with the first octet most significant.
std::uint32_t addressValue(const char* text);
std::uint32_t addressValue(std::uint32_t networkOrder);

// "10.0.0.7"
std::string dotted(std::uint32_t value);

// A text with its HTML numeric entities decoded, as the cache files names of users and groups.
std::string decoded(std::string text);

}  // namespace zrhost
