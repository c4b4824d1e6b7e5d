#include "cli/question_options.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>

#include "cli/exit_status.h"
#include "host/base/text_lines.h"
#include "host/format/AnswerJson.h"

namespace zrcli {

namespace {

constexpr char kGroup[] = "Questions";

void addParts(CLI::App& command) {
  constexpr const char* kHelp[] = {"The policies of this user.", "The policies of this group.",
                                   "The policies of this host name.",
                                   "The policies of this IPv4 address, then those of the address ranges that hold it.",
                                   "The policies of this other key, as POP3_Mail_Sender."};
  static_assert(std::size(kHelp) == std::size(zrhost::kQuestionWords));
  for (std::size_t i = 0; i < std::size(kHelp); ++i) {
    const zrhost::QuestionWord& word = zrhost::kQuestionWords[i];
    command.add_option(std::string("--") + word.word)
        ->description(std::string(kHelp[i]) + " May be given any number of times.")
        ->type_name(word.keyName)
        ->expected(1)
        ->take_all()
        ->group(kGroup);
  }
  command.add_flag("--default")->description("The default policy, behind all others.")->group(kGroup);
  command.add_flag("--all")->description("The policies of all users, groups and other keys.")->group(kGroup);
}

// The parts of the question in the order in which they stand on the command line, across the options.
zrhost::Question questionOf(const CLI::App& command) {
  zrhost::Question question;
  std::map<const CLI::Option*, std::size_t> used;
  for (const CLI::Option* option : command.parse_order()) {
    const std::string name = option->get_single_name();
    const auto* word = std::find_if(std::begin(zrhost::kQuestionWords), std::end(zrhost::kQuestionWords),
                                    [&name](const zrhost::QuestionWord& each) { return each.word == name; });
    if (word != std::end(zrhost::kQuestionWords)) {
      question.push_back(zrhost::makeQuestionPart(*word, option->results().at(used[option]++)));
    } else if (name == "default" || name == "all") {
      question.push_back(zrhost::parseQuestion(name).front());
    }
  }
  return question;
}

zrhost::Question parseLine(const std::string& line, bool withGroups) {
  zrhost::Question question = zrhost::parseQuestion(line);
  return withGroups ? zrhost::withGroups(std::move(question)) : question;
}

}  // namespace

void addQuestionOptions(CLI::App& command, AskedQuestion& asked) {
  addParts(command);
  command
      .add_flag("--with-groups", asked.withGroups,
                "Also the policies of the groups that the users are in, behind those of the last user.")
      ->group(kGroup);
  command.add_flag("--stdin", asked.fromStandardInput, "Answer the questions of standard input, one for each line.")
      ->group(kGroup);
}

void readQuestion(const CLI::App& command, AskedQuestion& asked) {
  asked.question = questionOf(command);
  const std::string& name = command.get_name();
  if (asked.question.empty() && !asked.fromStandardInput) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            name +
                                ": nothing is asked; give --user, --group, --host, --ip, --other, --default, --all "
                                "or --stdin");
  }
  if (!asked.question.empty() && asked.fromStandardInput) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            name + ": --stdin takes its questions from standard input; give no other question with it");
  }
  if (asked.withGroups) asked.question = zrhost::withGroups(std::move(asked.question));
}

int answerEachLine(const std::function<void(const std::string&, StandardOutput&)>& answer) {
  StandardOutput output;
  LineReader input([&output] { output.flush(); });
  std::string line;
  bool allWereQuestions = true;
  for (std::uint64_t number = 1; input.next(line); ++number) {
    if (number == 1) zrhost::dropByteOrderMark(line);
    if (line.empty()) continue;
    try {
      answer(line, output);
    } catch (const zrhost::HostError& error) {
      if (error.kind() != zrhost::ErrorKind::kUsage) throw;
      output.write(zrhost::errorJson(error.what(), number) + '\n');
      allWereQuestions = false;
    }
  }
  output.close();
  return allWereQuestions ? 0 : exitStatus(zrhost::ErrorKind::kBadRow);
}

int answerLines(bool withGroups, const std::function<void(const zrhost::Question&, StandardOutput&)>& answer) {
  return answerEachLine(
      [&](const std::string& line, StandardOutput& output) { answer(parseLine(line, withGroups), output); });
}

}  // namespace zrcli
