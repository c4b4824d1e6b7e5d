#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "cli/standard_streams.h"
#include "host/ask/Question.h"

namespace zrcli {

// What the command line asks: a question, or those of standard input.
struct AskedQuestion {
  zrhost::Question question;  // with the groups of its users, when they are asked
  bool withGroups = false;
  bool fromStandardInput = false;
};

// Adds the options that make a question, --with-groups and --stdin. `asked` must outlive `command`.
void addQuestionOptions(CLI::App& command, AskedQuestion& asked);

// Fills the question once the command line is read: its parts in the order in which they stand there. Throws HostError
// kUsage when nothing is asked, or both on the command line and on standard input.
void readQuestion(const CLI::App& command, AskedQuestion& asked);

// Answers the questions of standard input, one for each line: `answer` writes one line for each, and a line that is no
// question gives its error. What has been answered is written before the next read that may have to wait, so a program
// at the other end gets each answer without closing its end. Answers the exit status: 0, or 65 when a line was no
// question. Throws HostError kInputOutput, and what `answer` throws.
int answerLines(bool withGroups, const std::function<void(const zrhost::Question&, StandardOutput&)>& answer);
// The same for lines of another kind; for those that are none `answer` throws HostError kUsage.
int answerEachLine(const std::function<void(const std::string&, StandardOutput&)>& answer);

}  // namespace zrcli
