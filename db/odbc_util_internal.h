#ifndef ZR_DB_ODBC_UTIL_INTERNAL_H
#define ZR_DB_ODBC_UTIL_INTERNAL_H

#include <memory>
#include <new>
#include <sql.h>
#include <sqlext.h>
#include <string>
#include <unicode/unistr.h>
#include <unicode/utypes.h>

struct UConverter;

namespace zr {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "wide ODBC text is UTF-16");

inline bool succeeded(SQLRETURN result) {
  return result == SQL_SUCCESS || result == SQL_SUCCESS_WITH_INFO;
}

// Frees the handle and sets it null; does nothing to a null one. What the driver answers is of no use to anybody.
void freeHandle(SQLSMALLINT type, SQLHANDLE& handle);

// An array without values in it, or null when there is no memory for it.
template <typename Element>
std::unique_ptr<Element[]> tryAllocate(std::size_t count) {
  try {
    return std::unique_ptr<Element[]>(new Element[count]);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

enum class Conversion { kDone, kNoTargetMemory, kNoSourceMemory, kFailed };

// Zero-terminated UTF-8 into a new zero-terminated UTF-16 text. The converter is reset first, so that what an earlier
// failure left in it does not get into this text.
Conversion utf8ToUtf16(UConverter* converter, const char* text, std::unique_ptr<char16_t[]>& utf16);

// UTF-16 into UTF-8, up to the first zero; `utf8` is changed only when that succeeds. Resets the converter as above.
Conversion utf16ToUtf8(UConverter* converter, const icu::UnicodeString& text, std::string& utf8);

}  // namespace zr

#endif  // ZR_DB_ODBC_UTIL_INTERNAL_H
