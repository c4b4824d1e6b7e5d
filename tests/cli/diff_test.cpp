#include <gmock/gmock.h>

#include "cli/command.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

// The sample database, as it is and changed a little.
class DiffCommand : public testing::Test {
 protected:
  DiffCommand() {
    for (const std::string& database : {m_old, m_new})
      runCommand({"init", "--sample", "--database", database});
    runSql(m_new, {"UPDATE ep_link SET priority = 99 WHERE link_id = 2", "DELETE FROM ep_link WHERE link_id = 1",
                   "INSERT INTO group_member VALUES ('staff', 'x')"});
  }
  std::string exported(const std::string& database, const char* format) {
    const std::string path = m_folder.file(std::string("export.") + format);
    runCommand({"export", "--database", database, "--format", format, path});
    return path;
  }

  TempFolder m_folder;
  std::string m_old = m_folder.file("old.db"), m_new = m_folder.file("new.db");
};

constexpr char kChanges[] =
    "- ep_link, link_id 1: entity_type 1, entity_name 'john@example.org', policy_id 20, priority 10\n"
    "~ ep_link, link_id 2: priority 20 -> 99\n"
    "+ group_member, group_name 'staff', user_name 'x'\n";

TEST_F(DiffCommand, DatabasesAndFilesOfEveryFormatAreComparedByTheirContent) {
  const std::string jsonl = exported(m_new, "jsonl"), folder = exported(m_old, "csv");
  for (const auto& [before, after] : {std::pair(m_old, m_new), {folder, jsonl}, {folder, m_new}, {m_old, jsonl}}) {
    const CommandResult result = runCommand({"diff", before, after});
    EXPECT_EQ(result.status, 1) << result.err;
    EXPECT_THAT(result.out, testing::StartsWith(kChanges));
  }
  EXPECT_EQ(runCommand({"diff", m_old, folder}).status, 0);
  EXPECT_EQ(runCommand({"diff", "-", m_new}, {readFile(jsonl), {}, "", {}}).status, 0);
  const CommandResult summary = runCommand({"diff", "--summary", "--json", m_old, m_new});
  EXPECT_EQ(summary.status, 1);
  EXPECT_THAT(summary.out, HasSubstr("\"ep_link\":{\"added\":0,\"removed\":1,\"changed\":1}"));
}

TEST_F(DiffCommand, QuestionsOfAFileAreAskedOfBoth) {
  const std::string file =
      m_folder.write("questions", "# who\nuser John@example.org\r\n\nuser mary@example.org\ndefault");
  const CommandResult result = runCommand({"diff", m_old, exported(m_new, "jsonl"), "--questions", file, "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(
      result.out,
      "{\"questions\":[{\"line\":2,\"question\":\"user John@example.org\",\"before\":[20,14,21],\"after\":[21,14]}],"
      "\"asked\":3,\"different\":1}\n");
  EXPECT_EQ(runCommand({"diff", m_old, m_old, "--questions", file, "--summary"}).out, "0 of 3 answers differ\n");
  runSql(m_new, {"INSERT INTO ep_link VALUES (90, 5, '10.0.0.1', 20, 1)"});
  EXPECT_THAT(runCommand({"diff", m_old, m_new, "--questions", file}).err,
              HasSubstr("warning: B ('" + m_new + "'): 1 unusable row(s)"));
}

TEST_F(DiffCommand, FailureNamesTheSide) {
  const std::string cut = m_folder.write("cut.jsonl", "{\"zrpolicy\":1}\n"), other = m_folder.file("other.db");
  runSql(other, {"CREATE TABLE t (i)"});
  const struct {
    Words words;
    int status;
    std::string named;
  } cases[] = {
      {{m_old, m_folder.file("missing")}, 66, "B ('" + m_folder.file("missing") + "'): cannot read it: No such file"},
      {{"dsn:missing", m_old}, 69, "A ('dsn:missing'): unknown data source"},
      {{cut, m_old}, 65, "A ('" + cut + "'): "},
      {{m_old, cut}, 65, "B ('" + cut + "'): "},
      {{m_old, m_folder.write("empty", "")}, 65, "empty, so it is no policy file"},
      {{other, m_old}, 78, "A ('" + other + "'): "},
      {{m_old, m_folder.path().string()}, 66, "there is no "},
      {{m_old, m_new, "--questions", m_folder.file("missing")}, 66, "No such file"},
      {{m_old, m_new, "--questions", m_folder.write("bad", "user\nuser a\nx\n")}, 65, "line 1: user needs a key"},
      {{"-", "-"}, 64, "cannot both be standard input"},
      {{m_old}, 64, "B is required"},
      {{m_old, m_new, "--with-groups"}, 64, "--questions"},
      {{m_old, m_new, "--database", m_old}, 64, "--database"},
  };
  for (const auto& each : cases) {
    Words words = each.words;
    words.insert(words.begin(), "diff");
    expectRefusal(runCommand(words), each.status, each.named);
  }
}

TEST_F(DiffCommand, DataSourceIsComparedWithAFile) {
  if (!PostgresServer::installed()) GTEST_SKIP() << "PostgreSQL is not installed";
  CommandSetup setup;
  setup.environment["ODBCINI"] = m_folder.write(
      "odbc.ini", "[here]\nDriver=PostgreSQL Unicode\nServername=" + PostgresServer::shared().socketFolder() +
                      "\nPort=5432\nDatabase=" + PostgresServer::shared().createDatabase() + "\n");
  const Words user = {"--db-user", PostgresServer::kUser};
  const auto run = [&](Words words) {
    words.insert(words.end(), user.begin(), user.end());
    return runCommand(words, setup);
  };
  ASSERT_EQ(run({"init", "--sample", "--dsn", "here"}).status, 0);
  EXPECT_EQ(run({"diff", "dsn:here", m_old}).status, 0);
  EXPECT_THAT(run({"diff", "dsn:here", exported(m_new, "jsonl")}).out, testing::StartsWith(kChanges));
  EXPECT_EQ(run({"diff", "dsn:here", "dsn:here"}).status, 0);
}

}  // namespace
}  // namespace zrtest
