#include "vexa/VexaLog.h"

#include <cerrno>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using VEXA::Log;

std::string whatReachesStandardError(const std::function<void()>& work) {
  testing::internal::CaptureStderr();
  work();
  return testing::internal::GetCapturedStderr();
}

TEST(VexaLog, LineCarriesItsLevelAndEndsInOneLineFeed) {
  EXPECT_EQ(whatReachesStandardError([] {
              Log::LogByLevel(VEXA::VEXA_LOG_ERROR, "no line feed, %d", 1);
              Log::LogByLevel(VEXA::VEXA_LOG_TRACE, "%s", "one of its own\n");
              Log::LogByLevel(VEXA::VEXA_LOG_WARNING, "%s", "");
              Log::LogByLevel(VEXA::VEXA_LOG_INFO, "%s", std::string(5000, 'x').c_str());
            }),
            "E no line feed, 1\nT one of its own\nW \nI " + std::string(4095, 'x') + "\n");
}

TEST(VexaLog, ClosedStandardErrorIsNoFaultAndLeavesErrnoAlone) {
  const int saved = dup(STDERR_FILENO);
  close(STDERR_FILENO);
  errno = ENOENT;
  Log::LogByLevel(VEXA::VEXA_LOG_ERROR, "nobody reads this");
  EXPECT_EQ(errno, ENOENT);
  dup2(saved, STDERR_FILENO);
  close(saved);
}

TEST(VexaLog, LinesOfSeveralThreadsDoNotMix) {
  const std::string captured = whatReachesStandardError([] {
    const auto logHundredLines = [] {
      for (int i = 0; i < 100; ++i)
        Log::LogByLevel(VEXA::VEXA_LOG_INFO, "one line");
    };
    std::thread first(logHundredLines), second(logHundredLines);
    first.join();
    second.join();
  });
  std::string wanted;
  for (int i = 0; i < 200; ++i)
    wanted += "I one line\n";
  EXPECT_EQ(captured, wanted);
}

}  // namespace
