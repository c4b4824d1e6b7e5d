#include "bench/bench_database.h"

#include <cstdio>
#include <cstdlib>

#include "host/database/PolicyDatabase.h"

namespace zrbench {

BenchDatabase::BenchDatabase(std::int64_t links) {
  std::string folder = std::filesystem::temp_directory_path() / "zrbench.XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) std::exit(1);
  m_folder = folder;
  zrhost::PolicyDatabase::init(options(), {.sample = true, .force = false});
  if (links == 0) return;
  run("INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority) "
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(links) +
      ") SELECT 1000 + i, 1, 'user' || i || '@example.org', (SELECT min(policy_id) FROM policy), i % 1000 FROM n");
}

BenchDatabase::~BenchDatabase() {
  std::filesystem::remove_all(m_folder);
}

zrhost::DatabaseOptions BenchDatabase::options() const {
  zrhost::DatabaseOptions options;
  options.file = m_folder / "policies.db";
  return options;
}

void BenchDatabase::run(const std::string& sql) const {
  std::FILE* shell = popen(("sqlite3 -bail '" + options().file + "'").c_str(), "w");
  std::fputs(sql.c_str(), shell);
  if (pclose(shell) != 0) std::exit(1);
}

}  // namespace zrbench
