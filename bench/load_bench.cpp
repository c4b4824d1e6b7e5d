// What it costs to fill a cache from a database: links in an SQLite file, read through ODBC. One run shows both ratios
// that count: the time of loading against that of reading the rows alone, and the peak of resident memory while loading
// against what the filled cache takes.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

#include "bench/bench_run.h"
#include "host/database/PolicyDatabase.h"
#include "host/load/Snapshot.h"

namespace {

class TemporaryFolder {
 public:
  TemporaryFolder() : m_path(std::filesystem::temp_directory_path() / ("load_bench." + std::to_string(getpid()))) {
    std::filesystem::create_directory(m_path);
  }
  ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
  std::string file() const { return m_path / "policies.db"; }

 private:
  std::filesystem::path m_path;
};

// A database with the sample policies and as many more links of users.
void makeDatabase(const zrhost::DatabaseOptions& options, std::int64_t links) {
  zrhost::PolicyDatabase::init(options, {.sample = true, .force = false});
  const std::string sql =
      "INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority) "
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(links) +
      ") SELECT 1000 + i, 1, 'user' || i || '@example.org', (SELECT min(policy_id) FROM policy), i % 1000 FROM n";
  std::FILE* shell = popen(("sqlite3 -bail '" + options.file + "'").c_str(), "w");
  std::fputs(sql.c_str(), shell);
  if (pclose(shell) != 0) std::exit(1);
}

class CountingSink : public zrhost::RowSink {
 public:
  void onRevision(const zrhost::Revision&) override {}
  void onPolicy(zrhost::PolicyRow&) override { ++rows; }
  void onRule(zrhost::RuleRow&) override { ++rows; }
  void onLink(zrhost::LinkRow&) override { ++rows; }
  void onMember(zrhost::MemberRow&) override { ++rows; }

  std::int64_t rows = 0;
};

void loadLinks(benchmark::State& state) {
  const TemporaryFolder folder;
  zrhost::DatabaseOptions options;
  options.file = folder.file();
  makeDatabase(options, state.range(0));
  zrhost::PolicyDatabase database(options);
  CountingSink counted;
  double reading = 0, loading = 0, peakRatio = 0;
  while (state.KeepRunning()) {
    reading += zrbench::secondsFor([&] { database.read(counted); });
    zrbench::forgetPeak();
    const double before = zrbench::memory("VmRSS");
    std::shared_ptr<const zrhost::Snapshot> snapshot;
    loading += zrbench::secondsFor([&] { snapshot = zrhost::Snapshot::load(database); });
    peakRatio = (zrbench::memory("VmHWM") - before) / (zrbench::memory("VmRSS") - before);
  }
  state.counters["rows"] = static_cast<double>(counted.rows) / static_cast<double>(state.iterations());
  state.counters["reading_s"] = reading / static_cast<double>(state.iterations());
  state.counters["loading/reading"] = loading / reading;
  state.counters["peak/filled"] = peakRatio;
}
BENCHMARK(loadLinks)->Arg(10000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  return zrbench::run(argc, argv);
}
