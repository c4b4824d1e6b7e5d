// What it costs to fill a cache from a database: links in an SQLite file, read through ODBC. One run shows both ratios
// that count: the time of loading against that of reading the rows alone, and the peak of resident memory while loading
// against what the filled cache takes.

#include <memory>

#include "bench/bench_database.h"
#include "bench/bench_run.h"
#include "host/database/PolicyDatabase.h"
#include "host/load/Snapshot.h"

namespace {

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
  const zrbench::BenchDatabase links(state.range(0));
  zrhost::PolicyDatabase database(links.options());
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
