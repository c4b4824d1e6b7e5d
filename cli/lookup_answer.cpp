#include "cli/lookup_answer.h"

#include <string>

#include "cli/question_options.h"
#include "cli/standard_streams.h"
#include "cli/terminal_width.h"
#include "host/ask/Answer.h"
#include "host/format/AnswerJson.h"
#include "host/format/AnswerTable.h"

namespace zrcli {

namespace {

zrhost::Answer answerOf(const zrhost::Snapshot& snapshot, const zrhost::Question& question,
                        const LookupOptions& options) {
  zrhost::Answer answer = zrhost::ask(snapshot, question);
  if (options.top && !answer.empty()) answer.resize(1);
  return answer;
}

std::string jsonOf(const zrhost::Answer& answer, const zrhost::Snapshot& snapshot) {
  return zrhost::answerJson(answer, snapshot.generation(), snapshot.report().revision.revision) + '\n';
}

}  // namespace

void addAnswerOptions(CLI::App& command, LookupOptions& options) {
  const auto add = [&command](const char* name, bool& flag, const char* help) {
    command.add_flag(name, flag, help)->group("Output");
  };
  add("--top", options.top, "Only the first result.");
  add("--json", options.json, "One JSON document instead of a table.");
  add("--wide", options.wide, "The whole table, also where it is wider than the terminal.");
}

int answerOne(const zrhost::Snapshot& snapshot, const zrhost::Question& question, const LookupOptions& options) {
  const zrhost::Answer answer = answerOf(snapshot, question, options);
  StandardOutput output;
  output.write(options.json ? jsonOf(answer, snapshot)
                            : zrhost::answerTable(answer, options.wide ? 0 : terminalWidth()));
  output.close();
  return answer.empty() ? 1 : 0;
}

int answerBatch(const zrhost::Snapshot& snapshot, bool withGroups, const LookupOptions& options) {
  return answerLines(withGroups, [&](const zrhost::Question& question, StandardOutput& output) {
    output.write(jsonOf(answerOf(snapshot, question, options), snapshot));
  });
}

}  // namespace zrcli
