#ifndef ZR_SUPPORT_BUFFER_IO_H
#define ZR_SUPPORT_BUFFER_IO_H

#include "support/export.h"

// Moves 16-bit and 32-bit integers between a variable and a byte buffer of a fixed byte order: zr_be_ big-endian (most
// significant byte first, the network order of RFC 1700), zr_le_ little-endian. The order is the buffer's, whatever the
// machine's is.
//
// Each function touches exactly 4 (int4) or 2 (int2) bytes of the buffer, which may start at any address. A reader
// stores the bit pattern: the bytes FF FF FF FE, most significant first, are -2. Every pattern comes back as written.
//
// Neither pointer is checked; nothing fails and nothing is thrown. Any number of threads at once, each on memory of its
// own. int is taken to have 32 bits and short 16, as on every system that the library runs on.

ZR_EXPORT void zr_be_write_int4(char* buffer, int* value);
ZR_EXPORT void zr_be_read_int4(const char* buffer, int* value);
ZR_EXPORT void zr_be_write_int2(char* buffer, short* value);
ZR_EXPORT void zr_be_read_int2(const char* buffer, short* value);
ZR_EXPORT void zr_le_write_int4(char* buffer, int* value);
ZR_EXPORT void zr_le_read_int4(const char* buffer, int* value);
ZR_EXPORT void zr_le_write_int2(char* buffer, short* value);
ZR_EXPORT void zr_le_read_int2(const char* buffer, short* value);

#endif  // ZR_SUPPORT_BUFFER_IO_H
