#pragma once

#include <benchmark/benchmark.h>
#include <chrono>
#include <fstream>
#include <malloc.h>
#include <string>

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

// A line of /proc/self/status, in KiB.
inline double memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != name + ":") continue;
    double kibibytes = 0;
    status >> kibibytes;
    return kibibytes;
  }
  return 0;
}

inline void forgetPeak() {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << 5;
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
