#include <csignal>
#include <gmock/gmock.h>

#include "cli/command.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

// The sample database, which import, copy and check --fix change.
class ImportCommand : public testing::Test {
 protected:
  ImportCommand() { runCommand({"init", "--sample", "--database", m_database}); }
  CommandResult run(Words words, const CommandSetup& setup = {}) {
    words.insert(words.end(), {"--database", m_database});
    return runCommand(words, setup);
  }
  CommandResult given(const std::string& input, const Words& words) {
    CommandSetup setup;
    setup.input = input;
    return run(words, setup);
  }
  std::string exported() { return run({"export"}).out; }

  TempFolder m_folder;
  std::string m_database = m_folder.file("policy.db");
};

constexpr const char* kLinks =
    "entity_type,entity_name,policy_id,priority\nuser,John@Example.org,20,11\nip,10.9.0.0/30,40,1\n";

TEST_F(ImportCommand, SummaryIsTheSameInADryRunAsTextAndAsOneDocument) {
  const std::string file = m_folder.write("links.csv", kLinks), before = exported();
  const CommandResult dry = run({"import", "--dry-run", file});
  EXPECT_EQ(dry.status, 0) << dry.err;
  EXPECT_EQ(dry.out,
            "read       2\nadded      1\nchanged    1\nremoved    0\nunchanged  0\nmended     2\nrejected   0\n"
            "mended, for example\n  " +
                file + ", line 2: entity_name 'John@Example.org' becomes 'john@example.org'\n  " + file +
                ", line 3: entity_type 4 becomes 5, entity_name '10.9.0.0/30' becomes '10.9.0.0 ~ 10.9.0.3'\n");
  EXPECT_EQ(exported(), before);
  EXPECT_EQ(run({"import", file}).out, dry.out);
  EXPECT_EQ(given(kLinks, {"import", "-", "--json"}).out,
            "{\"read\":2,\"added\":0,\"changed\":0,\"removed\":0,\"unchanged\":2,\"mended\":2,\"rejected\":0}\n");
}

TEST_F(ImportCommand, WhatCannotBeDoneHasAStatusAndALineOfItsOwn) {
  const std::string before = exported();
  const std::string bad = m_folder.write("bad.csv", std::string(kLinks) + "ip,2001:db8::1,40,1\nuser,x,99,1\n");
  const CommandResult rejected = run({"import", bad});
  EXPECT_EQ(rejected.status, 65);
  EXPECT_EQ(rejected.err,
            "zrpolicy: " + bad +
                ", line 4: entity_name '2001:db8::1' holds an IPv6 address, and links name IPv4 addresses only\n"
                "zrpolicy: " +
                bad + ", line 5: there is no policy 99\nzrpolicy: 2 rows of " + bad +
                " cannot go in, so nothing was changed; correct them\n");
  expectRefusal(run({"import", m_folder.file("none")}), 66, "No such file");
  expectRefusal(given("{\"zrpolicy\":1}\n", {"import", "-"}), 65, "standard input, line 2: the file was cut");
  expectRefusal(given("{\"zrpolicy\":1}\n{\"end\":0}\n", {"import", "--replace", "-"}), 73, "33 of 33 links");
  expectRefusal(run({"import", "--replace", bad}), 64, "one table alone");
  expectRefusal(run({"import", "--replace", "--remove", bad}), 64, "--remove");
  expectRefusal(run({"import"}), 64, "FILE is required");
  expectRefusal(run({"import", bad, "--rejects", m_database}), 64, "is the database itself");
  expectRefusal(run({"import", bad, "--rejects", "-"}), 64, "not standard output");
  expectRefusal(run({"copy", "--from-database", m_database}), 64, "cannot be copied onto itself");
  expectRefusal(run({"copy"}), 64, "--from-database");
  expectRefusal(run({"check", "--fix", "--file", bad}), 64, "--f");
  expectRefusal(run({"check", "--dry-run"}), 64, "--fix");
  EXPECT_EQ(exported(), before);
}

// While its input is not whole, an import keeps nobody out; ended by a signal it leaves nothing.
TEST_F(ImportCommand, WaitingForItsInputLocksNothing) {
  const std::string before = exported();
  RunningCommand waiting({"import", "--database", m_database, "-"});
  waiting.send(kLinks);
  EXPECT_EQ(given(kLinks, {"import", "-"}).status, 0);
  EXPECT_EQ(given(before, {"import", "--replace", "-"}).status, 0);
  waiting.signal(SIGINT);
  EXPECT_EQ(waiting.wait(), -SIGINT);
  EXPECT_EQ(exported(), before);
}

TEST_F(ImportCommand, FindingsAreMendedAndListed) {
  ASSERT_EQ(given(kLinks, {"import", "--as-is", "-"}).status, 0);
  const std::string mended =
      "ep_link, link_id 34: entity_name 'John@Example.org' becomes 'john@example.org'\n"
      "ep_link, link_id 35: entity_type 4 becomes 5, entity_name '10.9.0.0/30' becomes '10.9.0.0 ~ 10.9.0.3'\n";
  const Words ignored = {"--ignore", "no-selected-rule", "--ignore", "duplicate-link"};
  const auto fix = [&](Words words) {
    words.insert(words.begin(), {"check", "--fix"});
    words.insert(words.end(), ignored.begin(), ignored.end());
    return run(words);
  };
  EXPECT_EQ(fix({"--dry-run"}).out, mended + "no findings\n");
  const CommandResult json = fix({"--dry-run", "--format", "json"});
  EXPECT_EQ(json.out, "{\"findings\":[],\"summary\":{\"error\":0,\"warning\":0,\"note\":0}}\n");
  EXPECT_THAT(json.err, HasSubstr("zrpolicy: ep_link, link_id 34: "));
  EXPECT_EQ(run({"check", "--fix", "--dry-run"}).status, 1) << "findings are left";
  EXPECT_EQ(fix({}).status, 0);
  EXPECT_EQ(fix({}).out, "no findings\n");
}

TEST_F(ImportCommand, CopyMovesAFileToAServerAndBack) {
  if (!PostgresServer::installed()) GTEST_SKIP() << "PostgreSQL is not installed";
  PostgresServer& server = PostgresServer::shared();
  CommandSetup setup;
  setup.environment["ODBCINI"] =
      m_folder.write("odbc.ini", "[site]\nDriver=PostgreSQL Unicode\nServername=" + server.socketFolder() +
                                     "\nPort=5432\nDatabase=" + server.createDatabase() + "\n");
  const Words onServer = {"--dsn", "site", "--db-user", PostgresServer::kUser};
  const auto run = [&](Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return runCommand(words, setup);
  };
  ASSERT_EQ(run({"init"}, onServer).status, 0);
  EXPECT_THAT(run({"copy", "--json", "--from-database", m_database}, onServer).out, HasSubstr("\"added\":84"));
  const std::string back = m_folder.file("back.db");
  runCommand({"init", "--database", back});
  const CommandResult copied =
      run({"copy", "--from-dsn", "site", "--from-db-user", PostgresServer::kUser}, {"--database", back});
  EXPECT_EQ(copied.status, 0) << copied.err;
  EXPECT_EQ(runCommand({"export", "--database", back}).out, exported());
  EXPECT_THAT(run({"copy", "--json", "--from-database", back}, onServer).out, HasSubstr("\"unchanged\":84"));
}

}  // namespace
}  // namespace zrtest
