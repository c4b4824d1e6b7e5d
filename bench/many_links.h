#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "host/base/DatabaseOptions.h"

namespace zrbench {

// A folder of this process's own, removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  std::string file(const std::string& name) const { return m_path / name; }

 private:
  std::filesystem::path m_path;
};

// Makes a database with the sample policies and as many more links of users.
void makeDatabase(const zrhost::DatabaseOptions& options, std::int64_t links);

// Runs a statement on an SQLite file; ends the process when it fails.
void runSql(const std::string& file, const std::string& sql);

}  // namespace zrbench
