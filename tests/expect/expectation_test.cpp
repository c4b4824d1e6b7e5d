#include <gmock/gmock.h>

#include "common/temp_folder.h"
#include "host/base/HostError.h"
#include "host/expect/ExpectationFile.h"
#include "host/expect/JunitReport.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using zrhost::Answer;
using zrhost::ErrorKind;
using zrhost::HostError;

Answer answerOf(const std::vector<std::int32_t>& policies, const std::string& action) {
  Answer answer;
  for (const std::int32_t id : policies) {
    answer.emplace_back().policyId = id;
    answer.back().rule.action = answer.size() == 1 ? action : "of another";
  }
  return answer;
}

TEST(Expectation, AnswerIsComparedAsTheLineSays) {
  const Answer answer = answerOf({20, 14, 21}, "REJECT 5.7.1 no");
  const struct {
    const char* expected;
    const Answer& answer;
    const char* difference;  // null when there is none
  } cases[] = {
      {"20 14 21", answer, nullptr},
      {"20 14", answer, "expected 20 14, answered 20 14 21"},
      {"14 20 21", answer, "expected 14 20 21, answered 20 14 21"},
      {"20 14 21 1", answer, "expected 20 14 21 1, answered 20 14 21"},
      {"20 ...", answer, nullptr},
      {"20 14 21 ...", answer, nullptr},
      {"14 ...", answer, "expected 14 ..., answered 20 14 21"},
      {"none", answer, "expected none, answered 20 14 21"},
      {"none", {}, nullptr},
      {"-1", {}, "expected -1, answered none"},
      {"action REJECT 5.7.1 no", answer, nullptr},
      {"action REJECT 5.7.1", answer, "expected action REJECT 5.7.1, answered action REJECT 5.7.1 no"},
      {"action REJECT ...", answer, nullptr},
      {"action of another", answer, "expected action of another, answered action REJECT 5.7.1 no"},
      {"action x ...", {}, "expected action x ..., answered none"},
  };
  for (const auto& c : cases) {
    const auto expectation = zrhost::parseExpectation("user a => b\tdefault => " + std::string(c.expected));
    EXPECT_EQ(expectation.asked, "user a => b\tdefault");
    ASSERT_EQ(expectation.question.size(), 2u);
    EXPECT_EQ(differenceOf(expectation, c.answer).value_or(""), c.difference == nullptr ? "" : c.difference)
        << c.expected;
  }
}

// What a file is refused with; nothing when it is read.
std::string refusal(const std::string& path, ErrorKind kind) {
  try {
    zrhost::readExpectations(path);
  } catch (const HostError& error) {
    EXPECT_EQ(error.kind(), kind) << path;
    return error.what();
  }
  return "";
}

TEST(ExpectationFile, BadLineIsNamedAndNothingIsWritten) {
  const TempFolder folder;
  const std::pair<const char*, const char*> cases[] = {
      {"user a\n", "line 1: nothing is expected of it"},
      {"# user\n\nuser a => 1\nuzer a => 1\n", "line 4: \"uzer a\" is no question"},
      {"user a => 1  2\n", "line 1: \"\" is no policy ID"},
      {"user a => 1 x\n", "line 1: \"x\" is no policy ID"},
      {"user a => 2147483648\nuser => 1\n", "line 1: \"2147483648\" is no policy ID"},
      {"user a => \nip x => 1\n", "(2 such lines in all)"},
  };
  for (const auto& [text, reason] : cases)
    EXPECT_THAT(refusal(folder.write("bad", text), ErrorKind::kBadRow), HasSubstr(reason)) << text;
  EXPECT_THAT(refusal(folder.file("missing"), ErrorKind::kNoInput), HasSubstr("cannot read"));
  EXPECT_THAT(refusal(folder.path().string(), ErrorKind::kInputOutput), HasSubstr("it is a folder"));
  const std::string bad = folder.write("bad", "user a\nuzer a\n");
  EXPECT_THROW(zrhost::recordExpectations(bad, [](const auto&) { return Answer(); }), HostError);
  EXPECT_EQ(readFile(bad), "user a\nuzer a\n");
}

TEST(ExpectationFile, RecordingKeepsCommentsAndIsAsExpectedAfterwards) {
  const TempFolder folder;
  const std::string file = folder.write("e", "\xEF\xBB\xBF# kept => 7\r\nuser a\n\ndefault => 9\nhost h => action x");
  const auto ask = [](const zrhost::Question& question) {
    return question.front().kind == zrhost::QuestionPart::Kind::kDefault ? Answer() : answerOf({3, 4}, "OK");
  };
  EXPECT_EQ(zrhost::recordExpectations(file, ask), 3u);
  EXPECT_EQ(readFile(file), "# kept => 7\nuser a => 3 4\n\ndefault => none\nhost h => 3 4\n");
  for (const auto& each : zrhost::readExpectations(file))
    EXPECT_EQ(differenceOf(each.expectation, ask(each.expectation.question)), std::nullopt) << each.line;
}

TEST(JunitReport, IsWellFormedWhateverWasAsked) {
  EXPECT_EQ(zrhost::junitReport({{"f", 1, "user a", ""}, {"f", 2, "user <\"&\x1b\xff", "expected 1"}}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<testsuite name=\"zrpolicy\" tests=\"2\" failures=\"1\">\n"
            "  <testcase classname=\"f\" name=\"1: user a\"/>\n"
            "  <testcase classname=\"f\" name=\"2: user &lt;&quot;&amp;\\x1b\\xff\">\n"
            "    <failure message=\"expected 1\"/>\n"
            "  </testcase>\n"
            "</testsuite>\n");
}

}  // namespace
}  // namespace zrtest
