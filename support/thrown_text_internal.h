#ifndef ZR_SUPPORT_THROWN_TEXT_INTERNAL_H
#define ZR_SUPPORT_THROWN_TEXT_INTERNAL_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace zr {

// Storage of one kind of text that is formatted and thrown as char*. Objects must be thread_local, one for each kind,
// so that a text stays readable until the same thread throws that kind again:
//
//   thread_local zr::ThrownText<256> text;
//   throw text.format("PolicyID is not valid [%d]", id);
//
// A text that does not fit is cut at kSize - 1 bytes. Never allocates, so it may be used where memory has run out.
template <std::size_t kSize>
struct ThrownText {
  char buffer[kSize];

  char* format(const char* pattern, ...) __attribute__((format(printf, 2, 3))) {
    buffer[0] = '\0';
    std::va_list args;
    va_start(args, pattern);
    std::vsnprintf(buffer, kSize, pattern, args);
    va_end(args);
    return buffer;
  }
};

}  // namespace zr

#endif  // ZR_SUPPORT_THROWN_TEXT_INTERNAL_H
