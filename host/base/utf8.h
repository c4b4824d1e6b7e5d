#pragma once

#include <string_view>

namespace zrhost {

// Whether all bytes are UTF-8.
bool isUtf8(std::string_view text);

}  // namespace zrhost
