#include "live/sql_folder_internal.h"

#include <dlfcn.h>

#include "host/database/sql_directory.h"

namespace zrlive {

// A program that has this code inside is installed as the others are: the folder of programs leads there as well.
std::string findSqlFolder() {
  Dl_info found{};
  const bool isLibrary = dladdr(reinterpret_cast<const void*>(&findSqlFolder), &found) != 0 &&
                         found.dli_fname != nullptr && std::string(found.dli_fname).find(".so") != std::string::npos;
  return isLibrary ? zrhost::findSqlDirectory(found.dli_fname, ZR_SQL_FROM_LIB) : zrhost::findSqlDirectory();
}

}  // namespace zrlive
