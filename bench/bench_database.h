#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "host/base/DatabaseOptions.h"

namespace zrbench {

// An SQLite file with the sample policies and as many more links of users, in a folder that is gone with the object.
class BenchDatabase {
 public:
  explicit BenchDatabase(std::int64_t links);
  ~BenchDatabase();
  BenchDatabase(const BenchDatabase&) = delete;
  BenchDatabase& operator=(const BenchDatabase&) = delete;

  zrhost::DatabaseOptions options() const;
  // Runs statements as an administrator would.
  void run(const std::string& sql) const;

 private:
  std::filesystem::path m_folder;
};

}  // namespace zrbench
