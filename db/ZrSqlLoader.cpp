#include "db/ZrSqlLoader.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <unistd.h>

#include "support/thrown_text_internal.h"

namespace {

constexpr std::size_t kPathSize = 512;
constexpr std::size_t kLineSize = 4096;
constexpr std::size_t kMessageSize = 256;

void checkFormatted(int length, const char* pszFormat) {
  if (length >= 0) return;
  thread_local zr::ThrownText<kMessageSize> text;
  throw text.format("ZrSqlLoader::vSetSqlParams(), failed to format the '%s'", pszFormat);
}

int fill(char* pszBuf, int nBufLen, const char* pszFormat, va_list args) {
  const int length = std::vsnprintf(pszBuf, static_cast<std::size_t>(nBufLen), pszFormat, args);
  if (length >= 0) pszBuf[nBufLen - 1] = '\0';
  return length;
}

void checkArguments(const char* pszBuf, int nBufLen, const char* pszFormat) {
  if (pszBuf == nullptr || nBufLen < 1 || pszFormat == nullptr) throw "ZrSqlLoader::loadSQL(), invalid arguments";
}

struct Path {
  char text[kPathSize];

  bool set(const char* folder, const char* name) {
    const int length = std::snprintf(text, sizeof text, "%s%s", folder, name);
    return length >= 0 && static_cast<std::size_t>(length) < sizeof text;
  }
};

Path pathOf(const std::string& folder, const char* name) {
  Path path;
  if (std::strpbrk(name, "/\\") == nullptr) {
    if (path.set(folder.c_str(), name)) return path;
    thread_local zr::ThrownText<kMessageSize> text;
    throw text.format("ZrSqlLoader::loadSQL(), the path + file name exceeds buffer size, %s", name);
  }
  if (path.set("", name)) return path;
  thread_local zr::ThrownText<kMessageSize> text;
  throw text.format("ZrSqlLoader::loadSQL(), the file name exceeds buffer size, %s", name);
}

std::string joinLines(std::ifstream& file) {
  std::string joined;
  char line[kLineSize];
  while (file.good()) {
    file.getline(line, sizeof line);
    joined += ' ';
    joined += line;
  }
  return joined;
}

bool readFile(const char* path, std::string& joined) {
  std::ifstream file(path);
  if (!file.is_open()) return false;
  file.exceptions(std::ios::badbit);  // a folder, say, opens but cannot be read
  joined = joinLines(file);
  return true;
}

}  // namespace

ZrSqlLoader::ZrSqlLoader() : m_strSqlDir("./") {}

ZrSqlLoader::ZrSqlLoader(const char* pszDir) {
  if (*pszDir == '\0') return;
  if (access(pszDir, R_OK) != 0) throw "Specified directory for SQL statements doesn't exist";
  m_strSqlDir = pszDir;
  if (m_strSqlDir.back() != '/') m_strSqlDir += '/';
}

std::string ZrSqlLoader::getSQL(const char* pszSqlName) {
  if (pszSqlName == nullptr) throw "ZrSqlLoader::getSQL(), invalid arguments";
  const Path path = pathOf(m_strSqlDir, pszSqlName);
  std::string joined;
  bool opened = false;
  try {
    opened = readFile(path.text, joined);
  } catch (...) {
    thread_local zr::ThrownText<kMessageSize> text;
    throw text.format("ZrSqlLoader::loadSQL(), failed to load %s", pszSqlName);
  }
  if (opened) return joined;
  thread_local zr::ThrownText<kPathSize> text;
  throw text.format("ZrSqlLoader::loadSQL(), failed to open %s", path.text);
}

void ZrSqlLoader::loadSQL(char* pszBuf, int nBufLen, const char* pszSqlName, ...) {
  const std::string format = getSQL(pszSqlName);
  checkArguments(pszBuf, nBufLen, format.c_str());
  va_list args;
  va_start(args, pszSqlName);
  const int length = fill(pszBuf, nBufLen, format.c_str(), args);
  va_end(args);
  checkFormatted(length, format.c_str());
}

int ZrSqlLoader::setSqlParams(char* pszBuf, int nBufLen, const char* pszFormat, ...) {
  checkArguments(pszBuf, nBufLen, pszFormat);
  va_list args;
  va_start(args, pszFormat);
  const int length = fill(pszBuf, nBufLen, pszFormat, args);
  va_end(args);
  checkFormatted(length, pszFormat);
  return length;
}

int ZrSqlLoader::vSetSqlParams(char* pszBuf, int nBufLen, const char* pszFormat, va_list args) {
  checkArguments(pszBuf, nBufLen, pszFormat);
  const int length = fill(pszBuf, nBufLen, pszFormat, args);
  checkFormatted(length, pszFormat);
  return length;
}
