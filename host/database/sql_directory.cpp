#include "host/database/sql_directory.h"

#include <filesystem>
#include <fstream>
#include <vector>

#include "host/base/HostError.h"

namespace zrhost {
namespace {

namespace fs = std::filesystem;

// A build tree names its source tree's statements in a file at its top, so that no such path is in a program.
std::string ofBuildTree(fs::path folder) {
  for (int up = 0; up < 4 && folder.has_relative_path(); ++up, folder = folder.parent_path()) {
    std::ifstream marker(folder / "zrpolicy-sql-directory");
    std::string path;
    if (std::getline(marker, path)) return path;
  }
  return {};
}

}  // namespace

std::string findSqlDirectory() {
  std::error_code ignored;
  const fs::path programFolder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  std::vector<std::string> places = {(programFolder / ZR_SQL_FROM_BIN).lexically_normal().string(), ZR_SQL_INSTALLED};
  if (const std::string place = ofBuildTree(programFolder); !place.empty()) places.insert(places.begin(), place);
  std::string tried;
  for (const std::string& place : places) {
    if (fs::is_directory(place, ignored)) return place;
    tried += (tried.empty() ? "'" : ", '") + place + "'";
  }
  throw HostError(ErrorKind::kInputOutput, "cannot find the SQL statement files in " + tried + "; name their folder");
}

}  // namespace zrhost
