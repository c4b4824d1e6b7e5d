#include "host/check/check_text_internal.h"

namespace zrhost {

std::string quotedText(std::string_view text) {
  constexpr std::size_t kMost = 60;
  if (text.size() <= kMost) return "'" + std::string(text) + "'";
  std::size_t end = kMost;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
    --end;
  return "'" + std::string(text.substr(0, end)) + "...'";
}

}  // namespace zrhost
