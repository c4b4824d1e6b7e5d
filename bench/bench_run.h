#pragma once

#include <benchmark/benchmark.h>
#include <chrono>

#include "support/PolicyLog.h"

namespace zrbench {

// Seconds that the work takes once. What is compared is timed in turn within each iteration, so that ratios hold on a
// machine whose speed changes meanwhile.
template <typename Work>
double secondsFor(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  benchmark::ClobberMemory();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// What the main function of every benchmark program does. Traces would be most of what is measured.
inline int run(int argc, char** argv) {
  PolicyLog::ms_level = PolicyLog::LEVEL_ERROR;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace zrbench
