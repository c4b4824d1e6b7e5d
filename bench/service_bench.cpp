// The service beside a responder that answers every request with a constant: requests per second on one core, and the
// time to answer at a fixed rate, quiet and while a million links are loaded again and again. Both are processes of
// their own on the first processor, the client is on the last one; they are measured in turn, and every reply is
// checked.

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "bench/bench_run.h"
#include "bench/bench_service.h"

namespace {

using std::chrono::milliseconds;

constexpr int kConnections = 64, kPerSecond = 2000;
constexpr milliseconds kRound{2000}, kWarmUp{300};

const std::vector<int>& cores() {
  static const std::vector<int> all = zrbench::processors();
  return all;
}

// Both servers, and a client for each.
class Contest {
 public:
  explicit Contest(std::int64_t links) : service(m_folder.file("service"), links, cores().front()) {
    m_constant = zrbench::startConstant(m_folder.file("constant"), m_folder.file("constant.log"), 1, cores().front());
    zrbench::holdOn(cores().back());
    toService = std::make_unique<zrbench::PolicyLoad>(m_folder.file("service"), kConnections, m_serviceExchanges);
    toConstant = std::make_unique<zrbench::PolicyLoad>(m_folder.file("constant"), kConnections, m_constantExchanges);
    toService->closedLoop(kWarmUp);
    toConstant->closedLoop(kWarmUp);
  }

 private:
  // Others go into it: the service has a user of its own.
  struct Folder : zrtest::TempFolder {
    Folder() { std::filesystem::permissions(path(), std::filesystem::perms::all); }
  };

  Folder m_folder;
  const std::vector<zrbench::Envelope> m_envelopes = zrbench::envelopes();
  const std::vector<zrbench::Exchange> m_serviceExchanges = zrbench::exchangesWithService(m_envelopes);
  const std::vector<zrbench::Exchange> m_constantExchanges = zrbench::exchangesWithConstant(m_envelopes);
  std::unique_ptr<zrtest::ChildProcess> m_constant;

 public:
  zrbench::BenchService service;
  std::unique_ptr<zrbench::PolicyLoad> toService, toConstant;
};

// A wrong answer, or a server that has gone, is no measurement: the program ends.
template <class Measure>
void measured(benchmark::State& state, std::int64_t links, const Measure& measure) {
  if (cores().size() < 2) return state.SkipWithError("the servers and the client need a processor each");
  try {
    Contest contest(links);
    for (auto _ : state)
      measure(contest);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    std::exit(1);
  }
}

void closedLoop(benchmark::State& state) {
  measured(state, 100000, [&](Contest& contest) {
    std::vector<double> service, constant, ratio;
    for (int round = 0; round < 15; ++round) {
      service.push_back(contest.toService->closedLoop(kRound));
      constant.push_back(contest.toConstant->closedLoop(kRound));
      ratio.push_back(service.back() / constant.back());
    }
    state.counters["service_per_s"] = zrbench::quantile(service, 0.5);
    state.counters["constant_per_s"] = zrbench::quantile(constant, 0.5);
    state.counters["service/constant"] = zrbench::quantile(ratio, 0.5);
  });
}
BENCHMARK(closedLoop)->Iterations(1)->Unit(benchmark::kSecond);

// The quantiles of each round; what is shown is the median of the rounds.
struct Rounds {
  std::vector<double> p50, p99;

  void run(zrbench::PolicyLoad& load) {
    std::vector<double> microseconds;
    load.openLoop(kPerSecond, kRound, microseconds);
    p50.push_back(zrbench::quantile(microseconds, 0.5));
    p99.push_back(zrbench::quantile(microseconds, 0.99));
  }
  double half() { return zrbench::quantile(p50, 0.5); }
  double most() { return zrbench::quantile(p99, 0.5); }
};

void show(benchmark::State& state, Rounds& service, Rounds& constant) {
  state.counters["service_p50_us"] = service.half();
  state.counters["service_p99_us"] = service.most();
  state.counters["constant_p50_us"] = constant.half();
  state.counters["constant_p99_us"] = constant.most();
  state.counters["p99_ratio"] = service.most() / constant.most();
}

void openLoop(benchmark::State& state) {
  measured(state, 100000, [&](Contest& contest) {
    Rounds service, constant;
    for (int round = 0; round < 15; ++round) {
      service.run(*contest.toService);
      constant.run(*contest.toConstant);
    }
    show(state, service, constant);
  });
}
BENCHMARK(openLoop)->Iterations(1)->Unit(benchmark::kSecond);

// The constant responder has the loading service beside it on its processor too, so that only the answering differs;
// how it does without that is shown as well.
void openLoopWhileLoading(benchmark::State& state) {
  measured(state, 1000000, [&](Contest& contest) {
    Rounds service, constant, constantAlone;
    for (int round = 0; round < 7; ++round)
      constantAlone.run(*contest.toConstant);
    contest.service.keepReloading();
    const int before = contest.service.generation();
    for (int round = 0; round < 20; ++round) {
      service.run(*contest.toService);
      constant.run(*contest.toConstant);
    }
    state.counters["loads"] = contest.service.generation() - before;
    state.counters["constant_alone_p99_us"] = constantAlone.most();
    show(state, service, constant);
  });
}
BENCHMARK(openLoopWhileLoading)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  cores();  // before this thread is held on one
  return zrbench::run(argc, argv);
}
