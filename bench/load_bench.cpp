// What it costs to fill a cache from a database: links in an SQLite file, read through ODBC. One run shows both ratios
// that count: the time of loading against that of reading the rows alone, and the peak of resident memory while loading
// against what the filled cache takes.

#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string>
#include <unistd.h>

#include "db/ZrDataAccess.h"
#include "host/database/OdbcEntries.h"
#include "host/database/PolicyDatabase.h"
#include "host/load/Snapshot.h"
#include "support/PolicyLog.h"

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
  const auto entries = zrhost::OdbcEntries::forFile(options.file);
  ZrDbConnect database;
  database.connect("", entries.dsn().c_str(), "", "");
  // INSERT stands first: the driver takes what begins with WITH for a query and leaves it until it is fetched.
  const std::string sql =
      "INSERT INTO ep_link (link_id, entity_type, entity_name, policy_id, priority) "
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(links) +
      ") SELECT 1000 + i, 1, 'user' || i || '@example.org', (SELECT min(policy_id) FROM policy), i % 1000 FROM n";
  database.executeSQL(sql.c_str(), ZrDbConnect::SQLTYPE_ANSI);
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

// A line of /proc/self/status, in KiB.
double memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != name + ":") continue;
    double kibibytes = 0;
    status >> kibibytes;
    return kibibytes;
  }
  return 0;
}

void forgetPeak() {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << 5;
}

template <typename Work>
double secondsFor(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void loadLinks(benchmark::State& state) {
  const TemporaryFolder folder;
  zrhost::DatabaseOptions options;
  options.file = folder.file();
  makeDatabase(options, state.range(0));
  zrhost::PolicyDatabase database(options);
  CountingSink counted;
  double reading = 0, loading = 0, peakRatio = 0;
  while (state.KeepRunning()) {
    reading += secondsFor([&] { database.read(counted); });
    forgetPeak();
    const double before = memory("VmRSS");
    std::shared_ptr<const zrhost::Snapshot> snapshot;
    loading += secondsFor([&] { snapshot = zrhost::Snapshot::load(database); });
    peakRatio = (memory("VmHWM") - before) / (memory("VmRSS") - before);
  }
  state.counters["rows"] = static_cast<double>(counted.rows) / static_cast<double>(state.iterations());
  state.counters["reading_s"] = reading / static_cast<double>(state.iterations());
  state.counters["loading/reading"] = loading / reading;
  state.counters["peak/filled"] = peakRatio;
}
BENCHMARK(loadLinks)->Arg(10000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  PolicyLog::ms_level = PolicyLog::LEVEL_ERROR;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
