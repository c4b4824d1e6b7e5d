#include "cli/check_command.h"

#include <memory>
#include <string>
#include <vector>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/progress_bar.h"
#include "cli/standard_streams.h"
#include "host/check/FindingReport.h"
#include "host/import/Fix.h"
#include "host/policyfile/PolicyFileSource.h"

namespace zrcli {

namespace {

constexpr char kCheckDescription[] =
    "Find what is wrong with the policies.\n"
    "Examines every row of the policy database, or of a policy file (--file): what loading refuses, and what loads and "
    "yet cannot be meant, as a "
    "name "
    "that no question finds. Each finding has a code, a severity, its table and key, the reason and a remedy. Status 0 "
    "without findings, 1 with some.\n"
    "\n"
    "With --fix the database is mended where there is one sure remedy, in one transaction: capitals and blanks of "
    "names, addresses that are read otherwise than they look, ranges that are not written as ranges are, ranges of one "
    "address or with only one. Each change is a line (with json and sarif on standard error); what is left are the "
    "findings. A member that would stand twice is removed. Codes that are ignored or less than --severity are not "
    "mended.\n";

constexpr char kExamples[] =
    "\nEXAMPLES\n"
    "    zrpolicy check --database sample.db --severity note\n"
    "    zrpolicy check --database sample.db --actions none --ignore duplicate-link\n"
    "    zrpolicy check --database sample.db --fix --dry-run\n"
    "    zrpolicy check --database sample.db --format sarif > findings.sarif\n";

struct CheckArguments {
  std::string file;  // empty: a database
  bool fix = false;
  bool dryRun = false;
  std::string format = "text";
  std::string severity = zrhost::severityName(zrhost::CheckOptions().least);
  std::string actions = "postfix";
  std::vector<std::string> ignored;
};

zrhost::CheckOptions checkOptions(const CheckArguments& arguments) {
  zrhost::CheckOptions options;
  options.least = *zrhost::findSeverity(arguments.severity);
  options.postfixActions = arguments.actions == "postfix";
  for (const std::string& name : arguments.ignored)
    options.ignored.insert(zrhost::findFindingKind(name)->code);
  return options;
}

// What is no row at all cannot be judged: the first hundred such lines are listed, and the check ends with them.
std::unique_ptr<zrhost::PolicyFileSource> fileSource(const std::string& path, ProgressBar& bar) {
  constexpr int kMostListed = 100;
  return std::make_unique<zrhost::PolicyFileSource>(path, [&bar, listed = 0](const zrhost::RowFault& fault) mutable {
    bar.clear();
    if (listed++ < kMostListed) printError(fault.text());
  });
}

zrhost::CheckSummary checkSource(const CommandContext& context, const CheckArguments& arguments,
                                 zrhost::CheckOptions& options, ProgressBar& bar) {
  if (arguments.file.empty()) {
    zrhost::PolicyDatabase database(databaseOptions(context));
    return zrhost::checkRows(database, options);
  }
  const auto file = fileSource(arguments.file, bar);
  options.place = &file->place();
  return zrhost::checkRows(*file, options);
}

int check(const CommandContext& context, const CheckArguments& arguments) {
  ProgressBar bar;
  StandardOutput output;
  const auto report =
      zrhost::makeFindingReport(*zrhost::findReportFormat(arguments.format), ZR_VERSION, [&](std::string_view text) {
        bar.clear();
        output.write(text);
      });
  zrhost::FixOptions fix{checkOptions(arguments), arguments.dryRun};
  zrhost::CheckOptions& options = fix.check;
  options.onFinding = [&report](const zrhost::Finding& finding) { report->add(finding); };
  options.onProgress = [&bar](std::uint64_t rows) { bar.show(rows); };
  fix.onFixed = [&](const std::string& text) {
    bar.clear();
    arguments.format == "text" ? output.write(text + '\n') : printError(text);
  };
  const zrhost::CheckSummary summary =
      arguments.fix ? zrhost::fixRows(databaseOptions(context), fix) : checkSource(context, arguments, options, bar);
  bar.clear();
  report->finish(summary);
  output.close();
  return summary.total() == 0 ? 0 : 1;
}

std::string footer() {
  std::string text = "CODES\n";
  for (const zrhost::FindingKind& kind : zrhost::kFindingKinds) {
    text +=
        std::string("    ") + kind.name + ", " + zrhost::severityName(kind.severity) + "\n        " + kind.found + '\n';
  }
  return text + kExamples;
}

std::string refuseUnknownCode(const std::string& name) {
  return zrhost::findFindingKind(name) != nullptr ? "" : "there is no code " + name;
}

// An option that takes one of a few words.
void addChoice(CLI::App& command, const char* name, std::string& value, const std::vector<std::string>& words,
               const char* description) {
  command.add_option(name, value, description)
      ->type_name("WORD")
      ->group("Findings")
      ->check(CLI::IsMember(words).description(""));
}

}  // namespace

void addCheckCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("check", kCheckDescription);
  command->footer(footer());
  const auto arguments = std::make_shared<CheckArguments>();
  command
      ->add_option("--file", arguments->file,
                   "A policy file that is checked in place of a database: JSON Lines, a folder of CSV files, one CSV "
                   "file, or - for standard input.")
      ->type_name("FILE")
      ->group("Findings");
  CLI::Option* fix =
      command
          ->add_flag("--fix", arguments->fix, "Mend what has one sure remedy, and say what is left. Not with --file.")
          ->group("Findings")
          ->excludes(command->get_option("--file"));
  command->add_flag("--dry-run", arguments->dryRun, "With --fix: say what would be mended, and write nothing.")
      ->group("Findings")
      ->needs(fix);
  addChoice(*command, "--severity", arguments->severity, {"error", "warning", "note"},
            "The least that is shown and counted: error, warning or note. Default: warning.");
  command
      ->add_option("--ignore", arguments->ignored,
                   "A code that is neither shown nor counted. May be given any number of times.")
      ->type_name("CODE")
      ->expected(1)
      ->take_all()
      ->group("Findings")
      ->check(CLI::Validator(refuseUnknownCode, ""));
  addChoice(*command, "--actions", arguments->actions, {"postfix", "none"},
            "What the actions of rules of kind 247 are for: postfix, where an empty or unknown one is a finding, or "
            "none that is known. Default: postfix.");
  addChoice(*command, "--format", arguments->format, {"text", "json", "sarif"},
            "text for people, json or sarif (2.1.0) for programs. Default: text.");
  addSettingOptions(*command, context);
  for (const char* other : {"--database", "--dsn"})
    command->get_option("--file")->excludes(command->get_option(other));
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return check(context, *arguments); }; });
}

}  // namespace zrcli
