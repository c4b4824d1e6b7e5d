#ifndef ZR_DB_ZRSQLLOADER_H
#define ZR_DB_ZRSQLLOADER_H

#include <cstdarg>
#include <string>

#include "support/export.h"

// SQL statements kept in text files, one template a file, in one folder. A template is a printf format: its
// conversions are filled with the caller's values, in order; a percent sign is written "%%".
//
// The text of a file is, for each of its lines, one blank and the line: "SELECT a\nFROM t\n" reads as
// " SELECT a FROM t ", an empty file as " ". Since the lines become one, a "--" comment hides all that follows it.
// A line of more than 4,095 bytes ends the text behind its first 4,095 bytes, in silence. Nothing is kept between
// calls: an edited file counts from the next call on.
//
// Threads: several may use one loader at once.
// Failures: thrown as const char* to static text, or, where a text names a file or a template, as char* to storage of
// the throwing thread, readable until that thread throws the same kind of text again. The catcher frees neither.
// Such a text is cut at 255 bytes, the one of a file that cannot be opened at 511. Nothing is logged.
class ZR_EXPORT ZrSqlLoader {
 public:
  // Reads from the working folder ("./").
  ZrSqlLoader();
  // Reads from the folder `pszDir` (not null), with or without a slash at its end. With the empty text, names are
  // opened as they stand. Throws "Specified directory for SQL statements doesn't exist" (const char*) when it is not
  // there or may not be read, and std::bad_alloc.
  explicit ZrSqlLoader(const char* pszDir);

  // The text of the file `pszSqlName` of the folder; no extension is added. A name with a slash or a backslash in it
  // is a path of its own, opened without the folder in front. A whole path has at most 511 bytes.
  //
  // Throws
  //   "ZrSqlLoader::getSQL(), invalid arguments" (const char*)           the name is null
  // and, as char*, with the name, the open one with the whole path, at their end
  //   "ZrSqlLoader::loadSQL(), the path + file name exceeds buffer size, %s"  folder and name are too long
  //   "ZrSqlLoader::loadSQL(), the file name exceeds buffer size, %s"         a path of its own is too long
  //   "ZrSqlLoader::loadSQL(), failed to open %s"
  //   "ZrSqlLoader::loadSQL(), failed to load %s"                             it cannot be read, or no memory
  std::string getSQL(const char* pszSqlName);

  // Reads a template as getSQL does and fills it as setSqlParams does, but says nothing of a statement that was cut.
  void loadSQL(char* pszBuf, int nBufLen, const char* pszSqlName, ...);

  // Fills the template `pszFormat` into the `nBufLen` bytes at `pszBuf`, always zero-terminated.
  //
  // Returns the length of the whole statement: when that is `nBufLen` or more, the statement was cut at
  // `nBufLen` - 1 bytes.
  //
  // Throws
  //   "ZrSqlLoader::loadSQL(), invalid arguments" (const char*)  a null pointer, or `nBufLen` below 1
  //   "ZrSqlLoader::vSetSqlParams(), failed to format the '%s'"  (char*) with the template: vsnprintf reports an error
  static int setSqlParams(char* pszBuf, int nBufLen, const char* pszFormat, ...);
  static int vSetSqlParams(char* pszBuf, int nBufLen, const char* pszFormat, va_list args);

  std::string m_strSqlDir;  // ends in "/" unless it is empty
};

#endif  // ZR_DB_ZRSQLLOADER_H
