#include "support/PolicyLog.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <sys/time.h>

#include "common/log_capture.h"
#include "support/CommonLogging.h"

namespace {

using zrtest::LogCapture;
using zrtest::LogLine;
using Lines = std::vector<LogLine>;

PolicyLog::LogLevel level(int number) {
  return static_cast<PolicyLog::LogLevel>(number);
}

TEST(PolicyLog, MessagePassesAtMostAtTheThreshold) {
  LogCapture log;
  for (const int threshold : {-1, 0, 1, 4}) {
    PolicyLog::ms_level = threshold;
    for (int number = -1; number <= 5; ++number)
      PolicyLog::log(level(number), "%d of %d", number, threshold);
    LogPrintf("always an error, %d", threshold);
  }
  EXPECT_EQ(log.lines(), (Lines{{4, "-1 of -1"},
                                {4, "-1 of 0"},
                                {4, "0 of 0"},
                                {4, "-1 of 1"},
                                {4, "0 of 1"},
                                {1, "1 of 1"},
                                {1, "always an error, 1"},
                                {4, "-1 of 4"},
                                {4, "0 of 4"},
                                {1, "1 of 4"},
                                {2, "2 of 4"},
                                {3, "3 of 4"},
                                {4, "4 of 4"},
                                {1, "always an error, 4"}}));
}

TEST(PolicyLog, LevelAboveTraceReachesTheSinkAsTraceOnceTheThresholdIsRaised) {
  LogCapture log;
  PolicyLog::log(level(5), "too fine");
  PolicyLog::ms_level = 6;
  PolicyLog::log(level(5), "fine enough");
  EXPECT_EQ(log.lines(), (Lines{{4, "fine enough"}}));
}

TEST(PolicyLog, LongMessageIsCutAt1022Characters) {
  LogCapture log;
  const std::string text(2000, 'x');
  PolicyLog::log(PolicyLog::LEVEL_INFO, "%s", text.c_str());
  LogPrintf("%s", text.c_str());
  EXPECT_EQ(log.lines(), (Lines{{3, text.substr(0, 1022)}, {1, text.substr(0, 1022)}}));
}

TEST(PolicyLog, PercentSignsInAValueStayCharacters) {
  LogCapture log;
  PolicyLog::log(PolicyLog::LEVEL_TRACE, "%s", "100%d of %s\n");
  LogPrintf("%s", "%n%n");
  DbgPrintf("%s", "never seen");
  EXPECT_EQ(log.lines(), (Lines{{4, "100%d of %s\n"}, {1, "%n%n"}}));
}

TEST(PolicyLog, FilteredTraceDoesNotEvaluateItsArguments) {
  LogCapture log;
  int evaluated = 0;
  PolicyLog::ms_level = PolicyLog::LEVEL_INFO;
  ZR_TRACE("%d", ++evaluated);
  EXPECT_EQ(evaluated, 0);
  PolicyLog::ms_level = PolicyLog::LEVEL_TRACE;
  ZR_TRACE("%d", ++evaluated);
  EXPECT_EQ(log.lines(), (Lines{{4, "1"}}));
}

TEST(PolicyLog, TimeIsTheWallClockInMicrosecondsModulo32Bits) {
  const auto now = [] {
    timeval time{};
    gettimeofday(&time, nullptr);
    return static_cast<std::uint32_t>(time.tv_sec * 1000000LL + time.tv_usec);
  };
  const std::uint32_t before = now();
  const std::uint32_t asked = PolicyLog::getTime();
  EXPECT_LE(asked - before, now() - before);
}

}  // namespace
