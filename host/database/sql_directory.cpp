#include "host/database/sql_directory.h"

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

[[noreturn]] void refuseFolder(const std::string& folder, const std::string& why) {
  throw HostError(ErrorKind::kInputOutput, oneLine("cannot read the SQL statement files in '" + folder + "': " + why +
                                                   "; name their folder with --sql-dir or [sql] directory"));
}

}  // namespace

std::string findSqlDirectory() {
  return findSqlDirectory("/proc/self/exe", ZR_SQL_FROM_BIN);
}

std::string findSqlDirectory(const std::string& file, const std::string& fromFolder) {
  std::error_code ignored;
  const auto folderOfFile = std::filesystem::canonical(file, ignored).parent_path();
  const std::string folder = (folderOfFile / fromFolder).lexically_normal().string();
  checkSqlDirectory(folder);
  struct stat owned {
  }, owner{};
  if (stat(folder.c_str(), &owned) != 0 || stat(file.c_str(), &owner) != 0) refuseFolder(folder, std::strerror(errno));
  if (owned.st_uid != 0 && owned.st_uid != owner.st_uid && owned.st_uid != geteuid()) {
    refuseFolder(folder, "the folder belongs to somebody else");
  }
  return folder;
}

void checkSqlDirectory(const std::string& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) refuseFolder(folder, std::strerror(errno));
  if (!S_ISDIR(status.st_mode)) refuseFolder(folder, "it is no folder");
  if (faccessat(AT_FDCWD, folder.c_str(), R_OK | X_OK, AT_EACCESS) != 0) refuseFolder(folder, std::strerror(errno));
}

}  // namespace zrhost
