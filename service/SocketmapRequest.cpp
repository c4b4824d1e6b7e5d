#include "service/SocketmapRequest.h"

#include <algorithm>

namespace zrservice {
namespace {

constexpr std::size_t kMostDigits = 5;  // of 65536

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

Found SocketmapRequest::parse(std::string_view bytes) {
  std::size_t length = 0, at = 0;
  for (; at < bytes.size() && isDigit(bytes[at]); ++at) {
    if (at == kMostDigits) return {0, "a netstring of more than 65536 bytes"};
    length = length * 10 + static_cast<std::size_t>(bytes[at] - '0');
  }
  if (at == bytes.size()) return {};
  const bool hasLeadingZero = at > 1 && bytes[0] == '0';
  if (at == 0 || hasLeadingZero || bytes[at] != ':') return {0, "no netstring"};
  if (length > kMostRequestBytes) return {0, "a netstring of more than 65536 bytes"};
  const std::string_view rest = bytes.substr(at + 1);
  if (rest.size() <= length) return {};
  if (rest[length] != ',') return {0, "a netstring without its comma"};
  const std::string_view text = rest.substr(0, length);
  if (text.find('\0') != text.npos) return {0, "a zero byte"};
  const std::size_t blank = std::min(text.find(' '), text.size());
  m_map = text.substr(0, blank);
  m_key = text.substr(std::min(blank + 1, text.size()));
  return {at + 1 + length + 1, nullptr};
}

void appendNetstring(std::string& out, std::string_view text) {
  out.append(std::to_string(text.size())).append(1, ':').append(text).append(1, ',');
}

}  // namespace zrservice
