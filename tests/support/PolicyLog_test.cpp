#include "support/PolicyLog.h"

#include <gtest/gtest.h>

#include "common/log_capture.h"
#include "support/CommonLogging.h"

namespace {

using zrtest::LogCapture;
using zrtest::LogLine;
using Lines = std::vector<LogLine>;

TEST(PolicyLog, MessagePassesAtMostAtTheThreshold) {
  LogCapture log;
  for (const int threshold : {-1, 1, 6}) {
    PolicyLog::ms_level = threshold;
    for (int number = -1; number <= 5; ++number)
      PolicyLog::log(static_cast<PolicyLog::LogLevel>(number), "%d of %d", number, threshold);
    LogPrintf("an error");
  }
  EXPECT_EQ(log.lines(), (Lines{{4, "-1 of -1"},
                                {4, "-1 of 1"},
                                {4, "0 of 1"},
                                {1, "1 of 1"},
                                {1, "an error"},
                                {4, "-1 of 6"},
                                {4, "0 of 6"},
                                {1, "1 of 6"},
                                {2, "2 of 6"},
                                {3, "3 of 6"},
                                {4, "4 of 6"},
                                {4, "5 of 6"},
                                {1, "an error"}}));
}

TEST(PolicyLog, TextIsCutAt1022CharactersAndOtherwiseAsItWas) {
  LogCapture log;
  const std::string text(2000, 'x');
  PolicyLog::log(PolicyLog::LEVEL_INFO, "%s", text.c_str());
  LogPrintf("%s", text.c_str());
  PolicyLog::log(PolicyLog::LEVEL_TRACE, "%s", "100%d of %s\n");
  LogPrintf("%s", "%n%n");
  DbgPrintf("%s", "never seen");
  EXPECT_EQ(log.lines(),
            (Lines{{3, text.substr(0, 1022)}, {1, text.substr(0, 1022)}, {4, "100%d of %s\n"}, {1, "%n%n"}}));
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

}  // namespace
