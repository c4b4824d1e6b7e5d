// What it costs to compare two states of a policy database: SQLite files of the sample policies and as many more links
// of users, equal but for one link in a thousand. One run shows the ratio that counts: the time of comparing against
// that of loading both.

#include "bench/bench_database.h"
#include "bench/bench_run.h"
#include "host/database/PolicyDatabase.h"
#include "host/diff/RowDiff.h"
#include "host/load/Snapshot.h"

namespace {

void compareLinks(benchmark::State& state) {
  const zrbench::BenchDatabase old(state.range(0)), now(state.range(0));
  now.run("UPDATE ep_link SET priority = priority + 1 WHERE link_id % 1000 = 0");
  zrhost::PolicyDatabase before(old.options()), after(now.options());
  double loading = 0, comparing = 0, different = 0;
  while (state.KeepRunning()) {
    loading += zrbench::secondsFor([&] { zrhost::Snapshot::load(before); });
    loading += zrbench::secondsFor([&] { zrhost::Snapshot::load(after); });
    comparing += zrbench::secondsFor([&] {
      const zrhost::DiffSide a{"A", [&](zrhost::RowSink& sink) { before.readByKey(sink); }};
      const zrhost::DiffSide b{"B", [&](zrhost::RowSink& sink) { after.readByKey(sink); }};
      different = static_cast<double>(zrhost::diffRows(a, b, [](const zrhost::RowDifference&) {}).total());
    });
  }
  state.counters["different"] = different;
  state.counters["comparing_s"] = comparing / static_cast<double>(state.iterations());
  state.counters["comparing/loading"] = comparing / loading;
}
BENCHMARK(compareLinks)->Arg(10000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  return zrbench::run(argc, argv);
}
