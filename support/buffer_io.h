#pragma once

#include "support/export.h"

ZR_EXPORT void zr_be_write_int4(char* buffer, int* value);
ZR_EXPORT void zr_be_read_int4(const char* buffer, int* value);
ZR_EXPORT void zr_be_write_int2(char* buffer, short* value);
ZR_EXPORT void zr_be_read_int2(const char* buffer, short* value);
ZR_EXPORT void zr_le_write_int4(char* buffer, int* value);
ZR_EXPORT void zr_le_read_int4(const char* buffer, int* value);
ZR_EXPORT void zr_le_write_int2(char* buffer, short* value);
ZR_EXPORT void zr_le_read_int2(const char* buffer, short* value);
