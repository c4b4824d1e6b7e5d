#include "host/base/strict_number.h"

#include <charconv>

namespace zrhost {

std::optional<std::int64_t> strictNumber(std::string_view text, std::int64_t least, std::int64_t most) {
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < least || number > most) return std::nullopt;
  return number;
}

}  // namespace zrhost
