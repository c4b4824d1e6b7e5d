#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zrhost {

// The name of the member or column that holds a text in Base64 is that of the text with this behind it.
inline constexpr std::string_view kBase64Suffix = "_base64";

std::string base64Of(std::string_view bytes);

// The bytes that a text stands for; nothing when it is no Base64 to the letter (RFC 4648, padded, unused bits zero), so
// that no bytes are made up for a text that was damaged.
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace zrhost
