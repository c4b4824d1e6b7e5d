#include "cli/lookup_answer.h"

#include <cstdint>
#include <string>

#include "cli/exit_status.h"
#include "cli/standard_streams.h"
#include "cli/terminal_width.h"
#include "host/ask/Answer.h"
#include "host/format/AnswerJson.h"
#include "host/format/AnswerTable.h"

namespace zrcli {

namespace {

zrhost::Answer answerOf(const zrhost::Snapshot& snapshot, const zrhost::Question& question,
                        const LookupOptions& options) {
  zrhost::Answer answer = zrhost::ask(snapshot, options.withGroups ? zrhost::withGroups(question) : question);
  if (options.top && !answer.empty()) answer.resize(1);
  return answer;
}

std::string jsonOf(const zrhost::Answer& answer, const zrhost::Snapshot& snapshot) {
  return zrhost::answerJson(answer, snapshot.generation(), snapshot.report().revision.revision) + '\n';
}

}  // namespace

int answerOne(const zrhost::Snapshot& snapshot, const zrhost::Question& question, const LookupOptions& options) {
  const zrhost::Answer answer = answerOf(snapshot, question, options);
  StandardOutput output;
  output.write(options.json ? jsonOf(answer, snapshot)
                            : zrhost::answerTable(answer, options.wide ? 0 : terminalWidth()));
  output.close();
  return answer.empty() ? 1 : 0;
}

int answerBatch(const zrhost::Snapshot& snapshot, const LookupOptions& options) {
  StandardOutput output;
  LineReader input([&output] { output.flush(); });
  std::string line;
  bool allWereQuestions = true;
  for (std::uint64_t number = 1; input.next(line); ++number) {
    if (line.empty()) continue;
    try {
      output.write(jsonOf(answerOf(snapshot, zrhost::parseQuestion(line), options), snapshot));
    } catch (const zrhost::HostError& error) {
      if (error.kind() != zrhost::ErrorKind::kUsage) throw;
      output.write(zrhost::errorJson(error.what(), number) + '\n');
      allWereQuestions = false;
    }
  }
  output.close();
  return allWereQuestions ? 0 : exitStatus(zrhost::ErrorKind::kBadRow);
}

}  // namespace zrcli
