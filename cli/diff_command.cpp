#include "cli/diff_command.h"

#include <memory>
#include <string>
#include <string_view>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/diff_side.h"
#include "cli/standard_streams.h"
#include "host/base/HostError.h"
#include "host/diff/AnswerDiffReport.h"
#include "host/diff/RowDiffReport.h"

namespace zrcli {

namespace {

constexpr char kDiffDescription[] =
    "Show in what two states of the policies differ.\n"
    "A and B are each a policy database (an SQLite file), a data source (dsn:NAME) or a policy file: JSON Lines, a "
    "folder of CSV files, one CSV file, or - for standard input. Shows the rows that B has and A has not (+), that A "
    "has and B has not (-), and that differ (~) with the columns that do, in the order of tables and keys, and how "
    "many of each there are. Links are told by their link_id.\n"
    "\n"
    "With --questions, asks both the questions of a file, one for each line as lookup --stdin takes them (# begins a "
    "comment), and shows those whose answer differs: in policies, their order, priorities or actions.\n"
    "\n"
    "Status 0 when nothing differs, 1 when something does. --db-user and --password-file hold for each data source.\n";

constexpr char kDiffFooter[] =
    "JSON\n"
    "    {\"rows\": [{\"table\": TEXT, \"key\": {COLUMN: VALUE},\n"
    "     \"change\": \"added\"|\"removed\"|\"changed\", \"before\": {COLUMN: VALUE},\n"
    "     \"after\": {COLUMN: VALUE}}, ...], \"summary\": {TABLE: {\"added\": N,\n"
    "     \"removed\": N, \"changed\": N}, ...}}\n"
    "    \"before\" of an added row and \"after\" of a removed one are null; those of a\n"
    "    changed row hold the columns that differ. A text that is no UTF-8 is in Base64,\n"
    "    under the column's name with _base64 behind it. With --questions:\n"
    "    {\"questions\": [{\"line\": N, \"question\": TEXT, \"before\": [POLICY ID, ...],\n"
    "     \"after\": [POLICY ID, ...]}, ...], \"asked\": N, \"different\": N}\n"
    "\n"
    "EXAMPLES\n"
    "    zrpolicy diff policies.db site.jsonl\n"
    "        What an import of the file would change.\n"
    "    zrpolicy diff policies.db dsn:policies --questions questions --summary\n"
    "        How many answers a move to the server would change.\n";

struct DiffArguments {
  std::string before;
  std::string after;
  std::string questions;  // empty: rows are compared
  bool withGroups = false;
  bool summary = false;
  bool json = false;
};

int diffRowsOf(ComparedSide& before, ComparedSide& after, const zrhost::DiffFormat& format) {
  zrhost::RowDiffReport report(format);
  const zrhost::RowDiffSummary summary = zrhost::diffRows(
      before.rows(), after.rows(), [&report](const zrhost::RowDifference& difference) { report.add(difference); });
  report.finish(summary);
  return summary.total() == 0 ? 0 : 1;
}

int diffAnswersOf(ComparedSide& before, ComparedSide& after, const std::vector<zrhost::PlacedQuestion>& questions,
                  bool withGroups, bool strict, const zrhost::DiffFormat& format) {
  zrhost::AnswerDiffReport report(format);
  const auto old = before.load(strict), now = after.load(strict);
  const std::uint64_t different =
      zrhost::diffAnswers(*old, *now, questions, withGroups,
                          [&report](const zrhost::AnswerDifference& difference) { report.add(difference); });
  report.finish(questions.size(), different);
  return different == 0 ? 0 : 1;
}

int diff(const CommandContext& context, const DiffArguments& arguments) {
  if (arguments.before == "-" && arguments.after == "-") {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage, "diff: A and B cannot both be standard input");
  }
  std::vector<zrhost::PlacedQuestion> questions;  // read first: a mistake in them costs no load
  if (!arguments.questions.empty()) questions = zrhost::readQuestions(arguments.questions);
  applySettings(context);
  ComparedSide before("A", arguments.before, context), after("B", arguments.after, context);
  StandardOutput output;
  const zrhost::DiffFormat format{arguments.json, arguments.summary,
                                  [&output](std::string_view text) { output.write(text); }};
  const int status = arguments.questions.empty()
                         ? diffRowsOf(before, after, format)
                         : diffAnswersOf(before, after, questions, arguments.withGroups, context.strict, format);
  output.close();
  return status;
}

}  // namespace

void addDiffCommand(CLI::App& program, CommandContext& context) {
  constexpr char kOutput[] = "Output";
  CLI::App* command = program.add_subcommand("diff", kDiffDescription);
  command->footer(kDiffFooter);
  const auto arguments = std::make_shared<DiffArguments>();
  command->add_option("A", arguments->before, "What was before: a FILE, a FOLDER or dsn:NAME.")
      ->required()
      ->group("Compared");
  command->add_option("B", arguments->after, "What is now.")->required()->group("Compared");
  CLI::Option* const questions =
      command->add_option("--questions", arguments->questions, "Compare the answers to the questions of this file.")
          ->type_name("FILE")
          ->group("Compared");
  command
      ->add_flag("--with-groups", arguments->withGroups,
                 "With --questions, ask the groups that the users are in, too, as lookup does.")
      ->needs(questions)
      ->group("Compared");
  command->add_flag("--summary", arguments->summary, "Only how many rows, or answers, differ.")->group(kOutput);
  command->add_flag("--json", arguments->json, "One JSON document instead of lines.")->group(kOutput);
  addSettingOptions(*command, context);
  for (const char* named : {"--database", "--dsn"})  // A and B are
    command->remove_option(command->get_option(named));
  addStrictOption(*command, context);
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return diff(context, *arguments); }; });
}

}  // namespace zrcli
