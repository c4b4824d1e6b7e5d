#include "host/base/terminal_text.h"

#include <cstdint>
#include <cstdio>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace zrhost {

namespace {

// The next code point of `text` at `at`, which moves behind it; negative for bytes that are no UTF-8.
UChar32 nextCodePoint(std::string_view text, std::size_t& at) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  UChar32 codePoint = 0;
  U8_NEXT(bytes, at, text.size(), codePoint);
  return codePoint;
}

// Zero width joiners are left alone: they belong to the spelling of some languages and cannot hide a direction.
bool isShown(UChar32 codePoint) {
  constexpr UChar32 kZeroWidthNonJoiner = 0x200C;
  constexpr UChar32 kZeroWidthJoiner = 0x200D;
  if (codePoint == kZeroWidthNonJoiner || codePoint == kZeroWidthJoiner) return true;
  constexpr std::uint32_t kHidden = U_GC_C_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK;
  return (U_MASK(u_charType(codePoint)) & kHidden) == 0;
}

void appendByte(std::string& out, char byte) {
  char escape[5];
  std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  out += escape;
}

void appendHidden(std::string& out, UChar32 codePoint) {
  constexpr UChar32 kFirstBeyondAscii = 0x80;
  if (codePoint == '\n') {
    out += "\\n";
  } else if (codePoint == '\r') {
    out += "\\r";
  } else if (codePoint == '\t') {
    out += "\\t";
  } else if (codePoint < kFirstBeyondAscii) {
    appendByte(out, static_cast<char>(codePoint));
  } else {
    char escape[16];
    std::snprintf(escape, sizeof escape, "\\u{%x}", static_cast<unsigned>(codePoint));
    out += escape;
  }
}

int columnsOf(UChar32 codePoint) {
  const auto type = U_MASK(u_charType(codePoint));
  if ((type & (U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK)) != 0) return 0;
  const int width = u_getIntPropertyValue(codePoint, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

}  // namespace

std::string terminalText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const UChar32 codePoint = nextCodePoint(text, at);
    const std::string_view bytes = text.substr(start, at - start);
    if (codePoint < 0) {
      for (const char byte : bytes)
        appendByte(out, byte);
    } else if (isShown(codePoint)) {
      out += bytes;
    } else {
      appendHidden(out, codePoint);
    }
  }
  return out;
}

std::string shortened(std::string_view text, std::size_t mostBytes) {
  if (text.size() <= mostBytes) return terminalText(text);
  std::size_t end = mostBytes;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  U8_SET_CP_START(bytes, 0, end);
  return terminalText(text.substr(0, end)) + "...";
}

std::string oneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  return text;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t columns = 0;
  for (std::size_t at = 0; at < text.size();) {
    const UChar32 codePoint = nextCodePoint(text, at);
    columns += codePoint < 0 ? 1 : static_cast<std::size_t>(columnsOf(codePoint));
  }
  return columns;
}

std::string cutToWidth(std::string_view text, std::size_t columns) {
  if (displayWidth(text) <= columns) return std::string(text);
  std::size_t end = 0;
  for (std::size_t at = 0, taken = 1; at < text.size(); end = at) {
    const std::size_t start = at;
    nextCodePoint(text, at);
    taken += displayWidth(text.substr(start, at - start));
    if (taken > columns) break;
  }
  return std::string(text.substr(0, end)) + "\xe2\x80\xa6";
}

}  // namespace zrhost
