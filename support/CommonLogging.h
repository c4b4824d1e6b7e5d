#ifndef ZR_SUPPORT_COMMONLOGGING_H
#define ZR_SUPPORT_COMMONLOGGING_H

#include "support/export.h"

// Logging by plain, undecorated names, as the database classes use it. Any number of threads at once; nothing is
// thrown.
extern "C" {

// Formats as printf does, cuts the text at 1,022 bytes and logs it through PolicyLog::log at level 1 (error).
// Formats before the level is tested.
ZR_EXPORT void LogPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Debug text. Discarded, at every level, without being formatted.
ZR_EXPORT void DbgPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
}

#endif  // ZR_SUPPORT_COMMONLOGGING_H
