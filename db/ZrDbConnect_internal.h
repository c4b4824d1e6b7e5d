#ifndef ZR_DB_ZRDBCONNECT_INTERNAL_H
#define ZR_DB_ZRDBCONNECT_INTERNAL_H

#include <cstddef>
#include <sql.h>
#include <sqlext.h>

#include "db/ZrDbConnect.h"

namespace zr {

// Sizes that drivers see. A chunk of a stream parameter is encoded whole.
constexpr std::size_t kChunkBytes = 65536;
constexpr std::size_t kWideUnits = 65536;
constexpr std::size_t kBase64Room = (kChunkBytes + 2) / 3 * 4 + 1;

// Where a connection keeps the piece of data that it moves just now. Not cleared when it is made.
struct TransferBuffer {
  char chunk[kChunkBytes];                      // a piece of a value, or of a stream before it is encoded
  std::size_t used = kChunkBytes;               // bytes of `chunk` that may differ from 0
  char16_t wide[kWideUnits + 1];                // a piece of a wide value, and an end that no driver can overwrite
  char base64[kBase64Room];                     // a piece of a stream once it is encoded
  SQLLEN dataAtExec = SQL_LEN_DATA_AT_EXEC(0);  // drivers read it through their bindings while the statement runs

  void clearChunk();
};

// The diagnostic records of a handle as they follow the text of a log line: one blank and the records, or nothing.
struct Diagnostics {
  Diagnostics(ZrDbConnect& connect, SQLSMALLINT type, SQLHANDLE handle);

  char text[1 + 1024];
};

// Describes the result that the statement handle stands on, or the next one that has columns.
void describeResultSet(ZrDbConnect& connect);

}  // namespace zr

#endif  // ZR_DB_ZRDBCONNECT_INTERNAL_H
