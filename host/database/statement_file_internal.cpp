#include "host/database/statement_file_internal.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw HostError(ErrorKind::kInputOutput, oneLine("the SQL statement file '" + path + "' " + why + "; correct it"));
}

// The loader does not say why it cannot open a file, and would wait for ever for somebody to write into a pipe.
void refuseUnreadable(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0) {
    refuse(path, std::string("cannot be read: ") + std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) refuse(path, "is no regular file");
}

std::string textOf(const std::string& path) {
  refuseUnreadable(path);
  try {
    return ZrSqlLoader().getSQL(path.c_str());
  } catch (const char* thrown) {
    throw HostError(ErrorKind::kInputOutput, oneLine(std::string("cannot read an SQL statement file: ") + thrown));
  }
}

// The loader puts a blank before each line in place of the line's end, so nothing but a cut or a zero byte makes the
// text shorter than the file.
void refuseCut(const std::string& path, const std::string& text) {
  std::error_code unknown;
  const auto size = std::filesystem::file_size(path, unknown);
  if (!unknown && text.size() != size + 1) refuse(path, "has a line of more than 4,095 bytes, or a zero byte");
}

// Checks one conversion, from behind its '%' on, and answers how long it is. printf counts "%s" along and "%2$s" not.
std::size_t checkConversion(const std::string& path, const std::string& conversion, const std::string& kinds,
                            std::size_t& next) {
  const std::size_t digits = std::min(conversion.find_first_not_of("0123456789"), conversion.size());
  const bool numbered = digits == 1 && conversion[0] != '0' && conversion[1] == '$';
  const std::size_t value = numbered ? static_cast<std::size_t>(conversion[0] - '1') : next++;
  const std::size_t at = numbered ? 2 : 0;
  if (value >= kinds.size() || conversion[at] != kinds[value]) {
    refuse(path, "holds '%" + conversion.substr(0, 3) +
                     "', which is no conversion of the values that the program gives (a percent sign is written %%)");
  }
  return at + 1;
}

void checkConversions(const std::string& path, const std::string& format, const std::string& kinds) {
  std::size_t next = 0;
  for (std::size_t at = 0; (at = format.find('%', at)) != std::string::npos;) {
    ++at;
    at += format[at] == '%' ? 1 : checkConversion(path, format.substr(at), kinds, next);
  }
}

}  // namespace

std::string statementTemplate(const std::string& path, const std::string& kinds) {
  std::string text = textOf(path);
  refuseCut(path, text);
  if (std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isspace(c) != 0; })) {
    refuse(path, "is empty");
  }
  checkConversions(path, text, kinds);
  refuseParameters(text, path);
  return text;
}

void refuseParameters(const std::string& sql, const std::string& path) {
  bool quoted = false;
  for (const char c : sql) {
    if (c == '\'') quoted = !quoted;
    if (c == '?' && !quoted) refuse(path, "holds a question mark outside quotes, which would be a parameter");
  }
}

}  // namespace zrhost
