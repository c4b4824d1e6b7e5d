#include "host/policyfile/base64_text_internal.h"

#include <memory>

#include "support/base64.h"

namespace zrhost {

std::string base64Of(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  ToB64Enc(bytes.data(), text.data(), static_cast<int>(bytes.size()));
  text.pop_back();
  return text;
}

// The library's decoder skips what it does not know; a text is right when encoding gives it back.
std::optional<std::string> fromBase64(std::string_view text) {
  unsigned int length = 0;
  const std::unique_ptr<unsigned char[]> bytes(Base64Decode(std::string(text).c_str(), &length));
  std::string decoded(reinterpret_cast<const char*>(bytes.get()), length);
  if (base64Of(decoded) != text) return std::nullopt;
  return decoded;
}

}  // namespace zrhost
