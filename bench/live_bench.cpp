// What it costs to have policies kept current: a lease and an answer beside the plain lookup; the peak of resident
// memory while links are loaded anew against what one snapshot takes; and the time from a commit to its effect against
// that of a plain load of the same rows.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "bench/bench_database.h"
#include "bench/bench_run.h"
#include "host/ask/Answer.h"
#include "live/LivePolicies.h"

namespace {

using zrbench::memory;
using zrlive::LivePolicies;

zrlive::LiveOptions optionsFor(const zrhost::DatabaseOptions& database) {
  zrlive::LiveOptions options;
  options.databaseFile = database.file;
  options.poll = std::chrono::milliseconds(10);
  options.reloadInterval = std::chrono::milliseconds(0);
  options.nice = 0;
  options.log = [](zrlive::LogLevel, const std::string&) {};
  return options;
}

// The sample database, lent by an object that lives as long as the program.
const LivePolicies& samplePolicies() {
  static const zrbench::BenchDatabase database(0);
  static LivePolicies policies(optionsFor(database.options()));
  static const bool isThere = (policies.start(), policies.waitForSnapshot(std::chrono::minutes(1)));
  if (!isThere) std::exit(1);
  return policies;
}

void lease(benchmark::State& state) {
  const LivePolicies& policies = samplePolicies();
  for (auto _ : state)
    benchmark::DoNotOptimize(policies.lease());
}
BENCHMARK(lease)->Threads(1)->Threads(2)->Threads(4);

void leaseAndAsk(benchmark::State& state) {
  const LivePolicies& policies = samplePolicies();
  zrlive::Question question;
  zrlive::Answer answer;
  for (auto _ : state) {
    question.clear();
    question.addUser("john@example.org").addAddress("10.0.0.7").addDefault().setMembers(true);
    policies.lease()->ask(question, answer);
    benchmark::DoNotOptimize(answer.size());
  }
}
BENCHMARK(leaseAndAsk)->Threads(1)->Threads(2);

// The same question by the road of the command.
void askWithCopies(benchmark::State& state) {
  const auto snapshot = samplePolicies().lease();
  for (auto _ : state) {
    auto question = zrhost::parseQuestion("user john@example.org\tip 10.0.0.7\tdefault");
    benchmark::DoNotOptimize(zrhost::ask(snapshot->inner(), zrhost::withGroups(std::move(question))));
  }
}
BENCHMARK(askWithCopies);

void waitForGeneration(const LivePolicies& policies, std::uint32_t old) {
  while (policies.lease()->generation() == old)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void reload(benchmark::State& state) {
  const zrbench::BenchDatabase database(state.range(0));
  zrbench::forgetPeak();
  const double empty = memory("VmRSS");
  LivePolicies policies(optionsFor(database.options()));
  policies.start();
  if (!policies.waitForSnapshot(std::chrono::minutes(10))) return state.SkipWithError("no snapshot");
  const double one = memory("VmRSS") - empty;
  double effect = 0, plain = 0, peak = 0;
  for (auto _ : state) {
    std::ofstream("/proc/self/clear_refs") << 5;  // memory that was freed stays where it is, as in a service
    const std::uint32_t old = policies.lease()->generation();
    database.run("UPDATE policy SET policy_type = policy_type + 1 WHERE policy_id = 1");
    effect += zrbench::secondsFor([&] { waitForGeneration(policies, old); });
    peak = std::max(peak, (memory("VmHWM") - empty) / one);
    plain += static_cast<double>(policies.lease()->loadTime().count()) / 1000;
  }
  state.counters["effect_s"] = effect / static_cast<double>(state.iterations());
  state.counters["effect/load"] = effect / plain;
  state.counters["peak/one"] = peak;
  state.counters["one_MB"] = one / 1024;
}
// Once only: what an earlier run freed would be taken for empty.
BENCHMARK(reload)->Arg(1000000)->Iterations(3)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  return zrbench::run(argc, argv);
}
