#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zrhost {

// The one of `words`, of which there must be one, that takes the fewest changed, added or dropped characters to become
// `wanted`, whatever the case of ASCII letters; the first of several.
std::string nearestWord(std::string_view wanted, const std::vector<std::string_view>& words);

}  // namespace zrhost
