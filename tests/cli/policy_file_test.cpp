#include <filesystem>
#include <gmock/gmock.h>

#include "cli/command.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// The sample database, and what is exported of it.
class PolicyFileTest : public testing::Test {
 protected:
  PolicyFileTest() { runCommand({"init", "--sample", "--database", m_database}); }
  CommandResult run(std::vector<std::string> words) {
    words.insert(words.end(), {"--database", m_database});
    return runCommand(words);
  }

  TempFolder m_folder;
  std::string m_database = m_folder.file("policy.db");
};

TEST_F(PolicyFileTest, ExportIsWholeSortedByKeyAndTheSameEachTime) {
  const std::string file = m_folder.file("p.jsonl");
  const std::string lines = run({"export"}).out;
  EXPECT_THAT(lines, StartsWith("{\"zrpolicy\":1}\n{\"policy\":{\"policy_id\":1,"));
  EXPECT_THAT(lines, HasSubstr("{\"link\":{\"link_id\":1,\"entity_type\":1,\"entity_name\":\"john@example.org\""));
  EXPECT_LT(lines.find("\"link_id\":8,"), lines.find("\"link_id\":9,")) << "link 9 has the better priority";
  EXPECT_TRUE(lines.ends_with("{\"end\":84}\n"));
  EXPECT_EQ(run({"export", file}).status, 0);
  EXPECT_EQ(readFile(file), lines);
  EXPECT_EQ(run({"export", "-"}).out, lines);
}

TEST_F(PolicyFileTest, ExportThatFailsLeavesTheOldFile) {
  const std::string file = m_folder.write("p.jsonl", "old");
  runSql(m_database, {"UPDATE policy SET policy_name = hex(randomblob(3000000)) WHERE policy_id = 1"});
  const CommandResult tooLong = run({"export", file});
  EXPECT_EQ(tooLong.status, 65);
  EXPECT_THAT(tooLong.err, HasSubstr("policy_id 1"));
  EXPECT_EQ(readFile(file), "old");
  EXPECT_EQ(run({"export", m_folder.file("no/folder")}).status, 74);
}

TEST_F(PolicyFileTest, FilesAreCheckedAsTheirDatabaseAndNameTheLine) {
  const std::string folder = m_folder.file("csv");
  const std::string inDatabase = run({"check", "--severity", "note"}).out;
  ASSERT_EQ(run({"export", "--format", "csv", folder}).status, 0);
  std::string inFile = runCommand({"check", "--severity", "note", "--file", folder}).out;
  EXPECT_THAT(inFile, HasSubstr(folder + "/policy.csv:22: policy, policy_id 60: warning: "));
  for (std::size_t at = 0; (at = inFile.find(folder)) != std::string::npos;)
    inFile.erase(at, inFile.find(": ", at) + 2 - at);
  EXPECT_EQ(inFile, inDatabase);
}

TEST_F(PolicyFileTest, LinesThatAreNoRowsEndACheckAndAreListed) {
  const std::string file =
      m_folder.write("p.jsonl", "{\"zrpolicy\":1}\n{\"policy\":{\"policy_id\":\"1\"}}\nnonsense\n{\"end\":2}\n");
  const CommandResult bad = runCommand({"check", "--file", file});
  EXPECT_EQ(bad.status, 65);
  EXPECT_THAT(bad.err, HasSubstr(file + ", line 2, column "));
  EXPECT_THAT(bad.err, HasSubstr(file + ", line 3"));
  EXPECT_EQ(runCommand({"check", "--file", m_folder.file("missing")}).status, 66);
  EXPECT_EQ(runCommand({"check", "--file", m_folder.write("cut.jsonl", "{\"zrpolicy\":1}\n")}).status, 65);
}

}  // namespace
}  // namespace zrtest
