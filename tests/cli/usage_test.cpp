#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <set>

#include "cli/command.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

TEST(Usage, HelpAndVersionSucceedAndTheManualPageHasEveryOptionOfTheHelp) {
  EXPECT_EQ(runCommand({"--version"}).out, "zrpolicy 1.0.0\n");
  const std::string page = readFile(ZR_SOURCE_FOLDER "/docs/man/zrpolicy.1");
  const std::regex option("\n    (?:-h, )?--([a-z-]+)");
  std::set<std::string> names;
  for (const Words& words : {Words{"--help"},
                             {"init", "--help"},
                             {"lookup", "-h"},
                             {"explain", "--help"},
                             {"diff", "--help"},
                             {"load", "--help"},
                             {"check", "--help"},
                             {"export", "--help"},
                             {"test", "--help"},
                             {"status", "--help"},
                             {"reload", "--help"},
                             {"ask", "--help"}}) {
    const CommandResult result = runCommand(words);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, testing::AllOf(StartsWith("NAME\n    zrpolicy"), HasSubstr("\nEXIT STATUS\n")));
    EXPECT_EQ(result.err, "");
    for (std::sregex_iterator match(result.out.begin(), result.out.end(), option), end; match != end; ++match)
      names.insert((*match)[1]);
  }
  for (const std::string& name : names)
    EXPECT_THAT(page, HasSubstr("Fl -" + name)) << name;
}

TEST(Usage, WrongCommandLineIsOneLineThatNamesWhatIsWrong) {
  const std::pair<Words, const char*> cases[] = {
      {{"frobnicate"}, "frobnicate"},
      {{"help", "config", "frobnicate"}, "frobnicate"},
      {{"lookup", "--frob", "--all"}, "--frob"},
      {{"lookup", "init", "--all"}, "init"},
      {{"lookup", "--database", "x"}, "nothing is asked"},
      {{"lookup", "--all"}, "no database is named"},
      {{"lookup", "--database", "x", "--user"}, "--user"},
      {{"lookup", "--database", "x", "--user", ""}, "user needs a key"},
      {{"lookup", "--database", "x", "--user=", "--all"}, "user needs a key"},
      {{"lookup", "--database", "x", "--ip", "255.255.255.255"}, "255.255.255.255"},
      {{"lookup", "--database", "x", "--ip", "\x1b[2J"}, "\\x1b[2J"},
      {{"lookup", "--database", "x", "--stdin", "--all"}, "--stdin"},
      {{"lookup", "--database=", "--all"}, "--database"},
      {{"lookup", "--database", "x", "--dsn", "y", "--all"}, "--dsn"},
      {{"check", "--file", "x", "--dsn", "y"}, "--file excludes --dsn"},
      {{"check", "--database", "x", "--ignore", "nonsense"}, "there is no code nonsense"},
      {{"explain", "--database", "x", "--policy", "7"}, "explain: nothing is asked"},
      {{"explain", "--database", "x", "--all", "--policy", "seven"}, "--policy"},
      {{"export", "--database", "x", "--format", "csv"}, "name the folder"},
      {{"load", "--database", "x", "--log-level", "5"}, "--log-level"},
      {{"load", "--database", "x", "--database", "y"}, "--database"},
      {{"load", "--dsn", "x", "--password-file", "/etc/passwd"}, "others may read or write it"},
  };
  for (const auto& [words, named] : cases)
    expectRefusal(runCommand(words), 64, named);
}

TEST(Usage, ShortUsageIsShownWhereNothingIsToBeDone) {
  const struct {
    Words words;
    int status;  // of 64 the usage goes to standard error
    const char *usage, *line;
  } cases[] = {
      {{}, 64, "COMMAND [OPTION...]\n", "\n  lookup                    Ask which policies apply\n"},
      {{"config"}, 64, "config COMMAND [OPTION...]\n", "\n  unset   "},
      {{"help"}, 0, "COMMAND [OPTION...]\n", "\n  config   "},
      {{"help", "lookup"}, 0, "lookup [OPTION...]\n", "\n  --user NAME               The policies of this user\n"},
      {{"help", "config", "set"}, 0, "config set [OPTION...] SECTION NAME VALUE\n", "\n  VALUE   "},
  };
  for (const auto& each : cases) {
    const CommandResult result = runCommand(each.words);
    EXPECT_EQ(result.status, each.status);
    EXPECT_THAT(each.status == 0 ? result.out : result.err,
                testing::AllOf(StartsWith(std::string("usage: zrpolicy ") + each.usage), HasSubstr(each.line)));
    EXPECT_EQ(each.status == 0 ? result.err : result.out, "");
  }
}

// The words behind "zrpolicy", the last of them unfinished, and what bash is offered for it.
TEST(Usage, CompletionOffersWhatTheCommandTakesAndNoMore) {
  const TempFolder folder;
  folder.write("my file", "");
  const std::string ini = folder.write("odbc.ini", "[policies]\nDriver=x\n[my source]\nDriver=x\n");
  const std::pair<const char*, const char*> cases[] = {
      {"''", "init|lookup|explain|load|check|export|import|copy|test|diff|status|reload|ask|config|help|"},
      {"lookup --js", "--json|"},
      {"load --js", ""},
      {"config check ''", "--help|--config|"},
      {"lookup --dsn ''", "policies|my\\ source|"},
      {"lookup --dsn = po", "policies|"},
      {"lookup --user config --database m", "my file|"},
      {"import --replace m", "my file|"},
      {"copy --from-dsn p", "policies|"},
      {"diff 'my file' m", "my file|"},
      {"diff --q", "--questions|"},
      {"load --log-level ''", "0|1|2|3|4|"},
      {"export --format ''", "jsonl|csv|"},
      {"check --format ''", "text|json|sarif|"},
      {"help export ''", ""},
      {"config s", "show|set|"},
      {"config show ''", "database|sql|log|service|questions|admin|"},
      {"config get --config x.conf database re", "retry_wait|retries|read_timeout|"},
      {"config set database file m", "my file|"},
      {"config get log level ''", ""},
      {"help config un", "unset|"},
  };
  for (const auto& [words, offered] : cases) {
    const std::string script =
        "source " ZR_SOURCE_FOLDER "/packaging/zrpolicy.bash; cd " + folder.path().string() +
        "; export ODBCINI=" + ini + "; COMP_WORDS=(" ZR_COMMAND " " + words +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _zrpolicy; printf \"%s|\" \"${COMPREPLY[@]}\"";
    const std::string shown = outputOf("bash -c '" + std::regex_replace(script, std::regex("'"), "'\\''") + "'");
    EXPECT_EQ(shown == "|" ? "" : shown, offered) << words;
  }
}

TEST(Usage, OutputThatCannotBeWrittenIsAnErrorOfItsOwn) {
  const CommandSetup full{"", {}, "/dev/full", {}}, closed{"", {1}, "", {}}, allClosed{"", {0, 1, 2}, "", {}};
  EXPECT_EQ(runCommand({"--help"}, allClosed).status, 74);
  expectRefusal(runCommand({"--help"}, full), 74, "No space left on device");
  expectRefusal(runCommand({"--help"}, closed), 74, "");
}

TEST(Usage, ReaderThatHasGoneEndsTheCommandQuietly) {
  const TempFolder folder;
  const std::string pipe = folder.file("pipe"), abandon = "mkfifo " + pipe + "; exec 3<>" + pipe + " 4>" + pipe;
  EXPECT_EQ(outputOf("bash -c '" + abandon + " 3<&-; " ZR_COMMAND " --help >&4; echo $?'"), "141\n");
}

}  // namespace
}  // namespace zrtest
