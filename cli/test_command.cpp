#include "cli/test_command.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/standard_streams.h"
#include "host/base/file_replace.h"
#include "host/base/terminal_text.h"
#include "host/expect/ExpectationFile.h"
#include "host/expect/JunitReport.h"

namespace zrcli {

namespace {

constexpr char kTestDescription[] =
    "Test that answers are as expected.\n"
    "Reads files of expectations, one a line: a question as lookup --stdin takes it, \" => \" and the IDs of the "
    "policies that must apply, in their order. \"20 ...\" expects policy 20 first and takes what follows, \"none\" "
    "that "
    "no policy applies, \"action TEXT\" the whole text of the first result's action (\"action TEXT ...\" how it "
    "begins). Empty lines and lines that begin with # say nothing. A line of output for each: ok, or FAIL with the "
    "difference. Status 0 when all are as expected, 1 when not.\n"
    "\n"
    "With --record, the files are written anew with the answers of today; what their lines expect may be missing, and "
    "comments stay.\n";

constexpr char kTestFooter[] =
    "EXAMPLES\n"
    "    zrpolicy test --database policies.db site.expect\n"
    "        Whether the answers that must not change have stayed.\n"
    "    zrpolicy test --database policies.db --record site.expect\n"
    "        Pins the answers of today.\n";

struct TestArguments {
  std::vector<std::string> files;
  std::string junit;
  bool record = false;
  bool withGroups = false;
};

using Ask = std::function<zrhost::Answer(const zrhost::Question&)>;

struct ExpectationsOfFile {
  std::string file;
  std::vector<zrhost::PlacedExpectation> expectations;
};

zrhost::TriedExpectation tried(const std::string& file, const zrhost::PlacedExpectation& each, const Ask& ask) {
  const auto difference = zrhost::differenceOf(each.expectation, ask(each.expectation.question));
  return {file, each.line, each.expectation.asked, difference.value_or("")};
}

std::string lineOf(const zrhost::TriedExpectation& each) {
  const bool failed = !each.difference.empty();
  const std::string place = each.file + ":" + std::to_string(each.line) + ": " + each.asked;
  return (failed ? "FAIL  " : "ok    ") + zrhost::terminalText(place) + (failed ? ": " + each.difference : "") + '\n';
}

void writeJunit(const std::string& path, const std::vector<zrhost::TriedExpectation>& all) {
  const std::string target = zrhost::linkTarget(path);
  zrhost::Replacement file(target, zrhost::plainFile(target));
  file.write(zrhost::junitReport(all));
  file.commit();
}

int testAll(const std::vector<ExpectationsOfFile>& files, const Ask& ask, const std::string& junit) {
  StandardOutput output;
  std::vector<zrhost::TriedExpectation> all;
  std::size_t failed = 0;
  for (const auto& [file, expectations] : files) {
    for (const zrhost::PlacedExpectation& each : expectations) {
      all.push_back(tried(file, each, ask));
      failed += all.back().difference.empty() ? 0 : 1;
      output.write(lineOf(all.back()));
    }
  }
  output.write(std::to_string(all.size() - failed) + " of " + std::to_string(all.size()) + " as expected\n");
  output.close();
  if (!junit.empty()) writeJunit(junit, all);
  return failed == 0 ? 0 : 1;
}

int recordAll(const std::vector<std::string>& files, const Ask& ask) {
  for (const std::string& file : files)
    zrhost::recordExpectations(file, ask);
  return 0;
}

int test(const CommandContext& context, const TestArguments& arguments) {
  std::vector<ExpectationsOfFile> files;  // read first: a mistake in them costs no load
  if (!arguments.record) {
    for (const std::string& file : arguments.files)
      files.push_back({file, zrhost::readExpectations(file)});
  }
  const auto snapshot = loadToAsk(context, arguments.withGroups);
  const Ask ask = [&](const zrhost::Question& question) {
    return zrhost::ask(*snapshot, arguments.withGroups ? zrhost::withGroups(question) : question);
  };
  return arguments.record ? recordAll(arguments.files, ask) : testAll(files, ask, arguments.junit);
}

}  // namespace

void addTestCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("test", kTestDescription);
  command->footer(kTestFooter);
  const auto arguments = std::make_shared<TestArguments>();
  command->add_option("FILE", arguments->files, "The files of expectations.")
      ->type_name("FILE")
      ->option_text("FILE...")
      ->required()
      ->group("Options");
  command->add_flag("--record", arguments->record, "Write the files anew with the answers of today.")->group("Options");
  command
      ->add_flag("--with-groups", arguments->withGroups, "Ask the groups that the users are in, too, as lookup does.")
      ->group("Options");
  command->add_option("--junit", arguments->junit, "A file for the result as JUnit XML, which CI servers read.")
      ->type_name("FILE")
      ->group("Options");
  addSettingOptions(*command, context);
  addStrictOption(*command, context);
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return test(context, *arguments); }; });
}

}  // namespace zrcli
