#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <set>

#include "cli/command.h"
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
  for (const Words& words : {Words{"--help"}, {"init", "--help"}, {"lookup", "-h"}, {"load", "--help"}}) {
    const CommandResult result = runCommand(words);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, testing::AllOf(StartsWith("NAME\n    zrpolicy"), HasSubstr("\nEXIT STATUS\n")));
    EXPECT_EQ(result.err, "");
    for (std::sregex_iterator match(result.out.begin(), result.out.end(), option), end; match != end; ++match)
      names.insert((*match)[1]);
  }
  EXPECT_EQ(names.size(), 26U);
  for (const std::string& name : names)
    EXPECT_THAT(page, HasSubstr("Fl -" + name)) << name;
}

TEST(Usage, WrongCommandLineIsOneLineThatNamesWhatIsWrong) {
  const std::pair<Words, const char*> cases[] = {
      {{}, "no command is given"},
      {{"frobnicate"}, "frobnicate"},
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
      {{"load", "--database", "x", "--pool-size", "0"}, "--pool-size"},
      {{"load", "--database", "x", "--retries", "99999999999999999999"}, "--retries"},
      {{"load", "--database", "x", "--log-level", "5"}, "--log-level"},
      {{"load", "--database", "x", "--database", "y"}, "--database"},
      {{"load", "--dsn", "x", "--password-file", "/etc/passwd"}, "others may read or write it"},
  };
  for (const auto& [words, named] : cases)
    expectRefusal(runCommand(words), 64, named);
}

TEST(Usage, OutputThatCannotBeWrittenIsAnErrorOfItsOwn) {
  const CommandSetup full{"", {}, "/dev/full", {}}, closed{"", {1}, "", {}}, allClosed{"", {0, 1, 2}, "", {}};
  EXPECT_EQ(runCommand({"--help"}, allClosed).status, 74);
  expectRefusal(runCommand({"--help"}, full), 74, "No space left on device");
  expectRefusal(runCommand({"--help"}, closed), 74, "");
}

}  // namespace
}  // namespace zrtest
