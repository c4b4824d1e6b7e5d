#pragma once

#include "support/export.h"

extern "C" {
ZR_EXPORT int ToB64Enc(const char* src, char* dst, int len);
ZR_EXPORT unsigned char* Base64Decode(const char* src, unsigned int* outLen);
}
