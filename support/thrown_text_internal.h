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
// A text that does not fit is cut at kSize - 1 bytes. Formatting allocates nothing, so it may be used where memory has
// run out, with one exception that is not ours to remove: the objects of all kinds make up the library's block of
// thread-local storage, and while a program that is linked with the library gets it with each thread, a process that
// loaded the library by dlopen gets it at the thread's first use of any of them. The C library then ends a process that
// cannot have it. So take no more room than the text needs: a test holds the whole block to one page.
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
