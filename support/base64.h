#ifndef ZR_SUPPORT_BASE64_H
#define ZR_SUPPORT_BASE64_H

#include "support/export.h"

// Base64 in the standard alphabet of RFC 4648, section 4 (A-Z, a-z, 0-9, "+", "/"), padded with "=", never broken into
// lines. Exported under these plain names.
//
// Threads: both functions use their arguments and constant tables only; any number of calls may run at once.
extern "C" {

// Encodes the `len` bytes at `src` into `dst` and ends the text with a zero. `dst` must have room for
// 4 * ceil(len / 3) + 1 characters. A `len` of 0 or less gives the empty text. Always returns 0; cannot fail.
ZR_EXPORT int ToB64Enc(const char* src, char* dst, int len);

// Decodes the zero-terminated text `src` (not null) and stores the number of bytes in `*outLen` (not null).
//
// Lenient, never refuses a text: characters outside the alphabet, line breaks and bytes from 128 up among them, are
// skipped; the text ends at its first "="; padding may be missing; a single character left over at the end is dropped.
//
// Returns a new array of more than `*outLen` bytes, also when that is 0, which the caller frees with delete[]. It is
// not zero-terminated. Throws std::bad_alloc when there is no memory for it.
ZR_EXPORT unsigned char* Base64Decode(const char* src, unsigned int* outLen);
}

#endif  // ZR_SUPPORT_BASE64_H
