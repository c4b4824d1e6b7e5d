#include "bench/many_links.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "host/database/PolicyDatabase.h"

namespace zrbench {

TemporaryFolder::TemporaryFolder()
    : m_path(std::filesystem::temp_directory_path() / ("zrpolicy_bench." + std::to_string(getpid()))) {
  std::filesystem::create_directory(m_path);
}

TemporaryFolder::~TemporaryFolder() {
  std::filesystem::remove_all(m_path);
}

void runSql(const std::string& file, const std::string& sql) {
  std::FILE* shell = popen(("sqlite3 -bail '" + file + "'").c_str(), "w");
  std::fputs(sql.c_str(), shell);
  if (pclose(shell) != 0) std::exit(1);
}

void makeDatabase(const zrhost::DatabaseOptions& options, std::int64_t links) {
  zrhost::PolicyDatabase::init(options, {.sample = true, .force = false});
  runSql(
      options.file,
      "INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority) "
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
          std::to_string(links) +
          ") SELECT 1000 + i, 1, 'user' || i || '@example.org', (SELECT min(policy_id) FROM policy), i % 1000 FROM n");
}

}  // namespace zrbench
