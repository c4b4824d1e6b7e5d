#include "db/odbc_util_internal.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <unicode/ucnv.h>

namespace zr {
namespace {

constexpr int kMostUtf8BytesOfAUnit = 3;

// ICU counts in 32 bits.
std::int32_t capacity(std::size_t count) {
  return static_cast<std::int32_t>(std::min<std::size_t>(count, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

void freeHandle(SQLSMALLINT type, SQLHANDLE& handle) {
  if (handle == nullptr) return;
  SQLFreeHandle(type, handle);
  handle = nullptr;
}

Conversion utf8ToUtf16(UConverter* converter, const char* text, std::unique_ptr<char16_t[]>& utf16) {
  const std::size_t length = std::strlen(text);
  const std::size_t room = 2 * length + 1;
  utf16 = tryAllocate<char16_t>(room);
  if (utf16 == nullptr) return Conversion::kNoTargetMemory;
  if (length > std::numeric_limits<std::int32_t>::max()) return Conversion::kFailed;
  UErrorCode status = U_ZERO_ERROR;
  ucnv_toUChars(converter, utf16.get(), capacity(room), text, static_cast<std::int32_t>(length), &status);
  return U_FAILURE(status) ? Conversion::kFailed : Conversion::kDone;
}

Conversion utf16ToUtf8(UConverter* converter, const icu::UnicodeString& text, std::string& utf8) {
  const std::int32_t units = text.length();
  const int unitSize = converter != nullptr ? ucnv_getMaxCharSize(converter) : kMostUtf8BytesOfAUnit;
  const std::size_t room = static_cast<std::size_t>(unitSize) * static_cast<std::size_t>(units) + 1;
  const auto target = tryAllocate<char>(room);
  if (target == nullptr) return Conversion::kNoTargetMemory;
  const auto source = tryAllocate<char16_t>(static_cast<std::size_t>(units) + 1);
  if (source == nullptr || text.isBogus()) return Conversion::kNoSourceMemory;  // bogus: it could not grow
  text.extract(0, units, source.get());
  UErrorCode status = U_ZERO_ERROR;
  ucnv_fromUChars(converter, target.get(), capacity(room), source.get(), units, &status);
  if (U_FAILURE(status)) return Conversion::kFailed;
  utf8 = target.get();
  return Conversion::kDone;
}

}  // namespace zr
