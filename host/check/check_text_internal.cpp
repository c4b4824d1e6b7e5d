#include "host/check/check_text_internal.h"

#include <algorithm>

namespace zrhost {

std::string quoted(std::string_view text) {
  constexpr std::size_t kMost = 60;
  if (text.size() <= kMost) return "'" + std::string(text) + "'";
  std::size_t end = kMost;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
    --end;
  return "'" + std::string(text.substr(0, end)) + "...'";
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}

}  // namespace zrhost
