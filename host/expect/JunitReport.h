#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zrhost {

// One expectation that was tried.
struct TriedExpectation {
  std::string file;
  std::uint64_t line = 0;
  std::string asked;
  std::string difference;  // empty when the answer was as expected
};

// The JUnit XML that CI servers read: a test suite, a test case for each expectation in its order, a failure with the
// difference where there is one. Texts are made safe as for a terminal, so that the document is always well-formed.
std::string junitReport(const std::vector<TriedExpectation>& tried);

}  // namespace zrhost
