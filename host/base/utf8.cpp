#include "host/base/utf8.h"

#include <cstdint>
#include <unicode/utf8.h>

namespace zrhost {

bool isUtf8(std::string_view text) {
  const auto size = static_cast<std::int32_t>(text.size());
  for (std::int32_t at = 0; at < size;) {
    UChar32 character = 0;
    U8_NEXT(text.data(), at, size, character);
    if (character < 0) return false;
  }
  return true;
}

}  // namespace zrhost
