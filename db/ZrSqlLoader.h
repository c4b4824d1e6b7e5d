#pragma once

#include <cstdarg>
#include <string>

#include "support/export.h"

class ZR_EXPORT ZrSqlLoader {
 public:
  ZrSqlLoader();
  explicit ZrSqlLoader(const char* pszDir);

  std::string getSQL(const char* pszSqlName);
  void loadSQL(char* pszBuf, int nBufLen, const char* pszSqlName, ...);
  static int setSqlParams(char* pszBuf, int nBufLen, const char* pszFormat, ...);
  static int vSetSqlParams(char* pszBuf, int nBufLen, const char* pszFormat, va_list args);

  std::string m_strSqlDir;
};
