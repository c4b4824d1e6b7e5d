#pragma once

#include <string>
#include <string_view>

namespace zrhost {

// A text of a row between single quotes, cut to some 60 bytes at the start of a character.
std::string quotedText(std::string_view text);

}  // namespace zrhost
