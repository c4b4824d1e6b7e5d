#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zrhost {

// Reads a text that must be a decimal number as a whole: an optional minus and digits, nothing before, between or
// behind. Returns nothing for any other text, and for a number outside [least, most].
std::optional<std::int64_t> strictNumber(std::string_view text, std::int64_t least, std::int64_t most);

}  // namespace zrhost
