#include "host/expect/JunitReport.h"

#include <algorithm>

#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

// An attribute with its value in quotes.
std::string attribute(const char* name, const std::string& value) {
  std::string text = std::string(" ") + name + "=\"";
  for (const char c : terminalText(value)) {
    switch (c) {
      case '&':
        text += "&amp;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '"':
        text += "&quot;";
        break;
      default:
        text += c;
    }
  }
  return text + '"';
}

std::string testCase(const TriedExpectation& each) {
  const std::string opening = "  <testcase" + attribute("classname", each.file) +
                              attribute("name", std::to_string(each.line) + ": " + each.asked);
  if (each.difference.empty()) return opening + "/>\n";
  return opening + ">\n    <failure" + attribute("message", each.difference) + "/>\n  </testcase>\n";
}

}  // namespace

std::string junitReport(const std::vector<TriedExpectation>& tried) {
  const auto failures =
      std::count_if(tried.begin(), tried.end(), [](const TriedExpectation& each) { return !each.difference.empty(); });
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"zrpolicy\" tests=\"" +
                     std::to_string(tried.size()) + "\" failures=\"" + std::to_string(failures) + "\">\n";
  for (const TriedExpectation& each : tried)
    text += testCase(each);
  return text + "</testsuite>\n";
}

}  // namespace zrhost
