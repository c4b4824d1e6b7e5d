#include "cli/lookup_batch.h"

#include <cstdint>

#include "cli/exit_status.h"
#include "cli/standard_streams.h"
#include "host/ask/Answer.h"
#include "host/format/AnswerJson.h"

namespace zrcli {

namespace {

std::string answerOf(const LoadedCache& loaded, const std::string& line, bool topOnly) {
  zrhost::Answer answer = zrhost::ask(*loaded.cache, zrhost::parseQuestion(line));
  if (topOnly && !answer.empty()) answer.resize(1);
  return zrhost::answerJson(answer, loaded.cache->m_generation, loaded.report.revision.revision);
}

}  // namespace

int answerBatch(const LoadedCache& loaded, bool topOnly) {
  StandardOutput output;
  LineReader input([&output] { output.flush(); });
  std::string line;
  bool allWereQuestions = true;
  for (std::uint64_t number = 1; input.next(line); ++number) {
    if (line.empty()) continue;
    try {
      output.write(answerOf(loaded, line, topOnly) + '\n');
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
