#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/command.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;

class Config : public testing::Test {
 protected:
  CommandResult run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "config");
    return runCommand(arguments, {"", {}, "", {{"ZRPOLICY_CONFIG", m_path}, {"ZRPOLICY_PASSWORD", "geheim"}}});
  }

  TempFolder m_folder;
  std::string m_path = m_folder.file("zr.conf");
};

TEST_F(Config, WhatIsSetIsGotUntilItIsUnset) {
  const CommandResult made = runCommand({"config", "set", "database", "file", "a b.db", "--config", m_path});
  EXPECT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(made.out, "made " + m_path + "\n");
  EXPECT_EQ(readFile(m_path), "[database]\nfile = a b.db\n");
  EXPECT_EQ(run({"get", "database", "file"}).out, "a b.db\n");
  EXPECT_EQ(run({"unset", "database", "file"}).status, 0);
  const CommandResult gone = run({"get", "database", "file"});
  EXPECT_EQ(gone.status, 1);
  EXPECT_EQ(gone.out, "");
  EXPECT_EQ(gone.err, "zrpolicy: [database] file is not set in " + m_path + "\n");
}

TEST_F(Config, ShowTellsWhereEachValueComesFromAndNoPassword) {
  m_folder.write("zr.conf", "[database]\nfile = a.db\nretries = 3\npassword = geheim\n");
  const CommandResult shown = run({"show", "database", "--pool-size", "4"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(shown.out, "settings file: " + m_path +
                           " (environment ZRPOLICY_CONFIG)\n"
                           "SECTION   NAME             FROM                           VALUE\n"
                           "database  file             file                           a.db\n"
                           "database  dsn              default                        (not set)\n"
                           "database  user             default                        (not set)\n"
                           "database  password_file    environment ZRPOLICY_PASSWORD  (hidden)\n"
                           "database  pool_size        option --pool-size             4\n"
                           "database  connect_timeout  default                        5\n"
                           "database  retry_wait       default                        1\n"
                           "database  retries          file                           3\n");
  EXPECT_THAT(shown.err, HasSubstr("warning: " + m_path + ": unknown setting \"password\" in [database]"));
}

TEST_F(Config, CheckAnswersByItsStatus) {
  m_folder.write("zr.conf", "[log]\nlevel = 1\nlevel 2\n");
  const CommandResult found = run({"check"});
  EXPECT_EQ(found.status, 1);
  EXPECT_EQ(found.out, m_path + ":3: the line is dropped: neither a section, a setting nor a comment\n");
  m_folder.write("zr.conf", "[log]\nlevel = 1\n");
  EXPECT_EQ(run({"check"}).status, 0);
}

TEST_F(Config, WhatCannotBeIsRefusedAndTheFileStays) {
  const std::string before = "[log]\nlevel = 1\n[database]\npassword = geheim\n";
  m_folder.write("zr.conf", before);
  const std::pair<std::vector<std::string>, int> cases[] = {
      {{"set", "log", "level", "9"}, 64},
      {{"set", "database", "user", "x\\"}, 64},
      {{"set", "my log", "level", "1"}, 64},
      {{"show", "lgo"}, 64},
      {{"get", "log"}, 64},
      {{"get", "database", "password"}, 64},
      {{"set", "log", "level", "2", "--config", m_folder.path()}, 74},
      {{"check", "--config", m_path + "x"}, 74},
      {{"unset", "log", "level", "--config", m_path + "x"}, 74},
  };
  for (const auto& [arguments, status] : cases) {
    const CommandResult result = run(arguments);
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_THAT(result.err, testing::AllOf(testing::StartsWith("zrpolicy: "), testing::Not(HasSubstr("geheim"))));
    EXPECT_EQ(readFile(m_path), before);
  }
}

TEST_F(Config, EveryCommandTakesItsSettingsFromTheFile) {
  ASSERT_EQ(run({"set", "database", "file", m_folder.file("policies.db")}).status, 0);
  EXPECT_EQ(runCommand({"init", "--sample", "--config", m_path}).status, 0);
  EXPECT_EQ(runCommand({"lookup", "--default", "--config", m_path}).status, 0);
  m_folder.write("zr.conf", "[database]\nfile = x\nretries = none\n");
  const CommandResult bad = runCommand({"lookup", "--default", "--config", m_path});
  EXPECT_EQ(bad.status, 64);
  EXPECT_EQ(bad.err, "zrpolicy: " + m_path + ": [database] retries = \"none\": not a whole number from 1 to 1000\n");
}

}  // namespace
}  // namespace zrtest
