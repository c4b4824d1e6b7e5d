#pragma once

#include <string>

#include "policy/ZrEPLink.h"

namespace zrhost {

// The name of a link as the cache files it: decoded for users and groups, in upper case for host names.
std::string filedName(const ZrEPLink& link);

// In what the name of a link differs from a key that was asked.
struct NameDifference {
  bool isSame = false;          // but for what `spelling` says
  bool isOneCharacter = false;  // not the same: one character is another, is missing or is too many
  std::string spelling{};       // capitals, blanks, HTML entities; empty when there is no such difference
};
NameDifference compareNames(const ZrEPLink& link, const std::string& key);

}  // namespace zrhost
