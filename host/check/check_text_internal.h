#pragma once

#include <string>
#include <string_view>

namespace zrhost {

// A text of a row between single quotes, cut to some 60 bytes at the start of a character.
std::string quoted(std::string_view text);

// What the C locale takes for white space.
constexpr std::string_view kBlanks = " \t\n\v\f\r";

// Without the blanks at both ends.
std::string_view trimmed(std::string_view text);

// A to Z as a to z; every other byte as it is.
std::string lowered(std::string_view text);

}  // namespace zrhost
