#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/expect/Expectation.h"

namespace zrhost {

// An expectation and the line of its file, from 1.
struct PlacedExpectation {
  std::uint64_t line = 0;
  Expectation expectation;
};

// The expectations of a file, one a line. Empty lines and those that begin with # say nothing; a carriage return at the
// end of a line belongs to the end.
//
// Throws HostError
//   kNoInput      there is no such file
//   kInputOutput  it cannot be read
//   kBadRow       a line is no expectation: file, line and why; of several the first, and how many there are
std::vector<PlacedExpectation> readExpectations(const std::string& path);

// Writes the file anew with what `ask` answers to each of its questions; what a line expects may be missing. Lines
// without a question stay as they are. Answers the number of questions. Throws as above, and then the file is the old
// one.
std::uint64_t recordExpectations(const std::string& path, const std::function<Answer(const Question&)>& ask);

}  // namespace zrhost
