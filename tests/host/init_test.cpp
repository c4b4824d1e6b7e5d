#include <filesystem>
#include <gmock/gmock.h>

#include "host/host_test_support.h"

using testing::HasSubstr;
using zrhost::InitReport;
using zrhost::PolicyDatabase;
namespace fs = std::filesystem;

namespace zrtest {
namespace {

class Init : public EveryDatabase {
 protected:
  bool isSqlite() const { return std::string(GetParam()) == "SQLite"; }
};
INSTANTIATE_TEST_SUITE_P(, Init, testing::Values("SQLite", "PostgreSQL"), [](const auto& info) { return info.param; });

TEST_P(Init, TablesThatAreThereAreKeptUnlessForced) {
  init();
  place->run("INSERT INTO policy VALUES (1, 1, 'mine', 0); CREATE TABLE bystander (n INTEGER);");
  const Failure refused = failureOf([&] { init(true); });
  EXPECT_EQ(refused.kind, ErrorKind::kTablesPresent);
  EXPECT_THAT(refused.text, HasSubstr("is there already"));
  EXPECT_EQ(place->run("SELECT policy_name FROM policy"), "mine\n");

  const std::string epoch = PolicyDatabase(place->options()).revision().epoch;
  const InitReport report = PolicyDatabase::init(place->options(), {true, true});
  std::int64_t dropped = 0;
  for (const auto& table : report.dropped)
    dropped += table.rows;
  EXPECT_EQ(report.dropped.size(), 5u);
  EXPECT_EQ(dropped, 2);  // the policy and the revision
  EXPECT_NE(PolicyDatabase(place->options()).revision().epoch, epoch);
  EXPECT_EQ(place->run("SELECT COUNT(*) FROM bystander"), "0\n");
}

TEST_P(Init, OneTableIsEnoughToRefuseAndForceDropsJustThatButNeverAView) {
  place->run("CREATE TABLE ep_link (whatever INTEGER); INSERT INTO ep_link VALUES (1), (2)");
  EXPECT_EQ(failureOf([&] { init(); }).kind, ErrorKind::kTablesPresent);
  const InitReport report = PolicyDatabase::init(place->options(), {false, true});
  ASSERT_EQ(report.dropped.size(), 1u);
  EXPECT_EQ(report.dropped[0].table, "ep_link");
  EXPECT_EQ(report.dropped[0].rows, 2);
  place->run("DROP TABLE ep_link; CREATE VIEW ep_link AS SELECT 1 AS n");
  const Failure failure = failureOf([&] { init(false, true); });
  EXPECT_EQ(failure.kind, ErrorKind::kTablesPresent);
  EXPECT_THAT(failure.text, HasSubstr("'ep_link' is no table"));
  EXPECT_EQ(place->run("SELECT n FROM ep_link"), "1\n");
}

TEST_P(Init, FailureHalfWayLeavesNothingBehind) {
  TempFolder folder;
  auto options = place->options();
  fs::copy(ZR_TEST_SCHEMA, folder.path() / "sql", fs::copy_options::recursive);
  folder.write("sql/sample/02_rules.sql", "INSERT INTO policy_rule (nonsense) VALUES (1)");
  options.sqlDirectory = (folder.path() / "sql").string();
  const Failure failure = failureOf([&] { PolicyDatabase::init(options, {true, false}); });
  EXPECT_EQ(failure.kind, ErrorKind::kInputOutput);
  EXPECT_THAT(failure.text, HasSubstr("/sample/02_rules.sql' is refused"));
  EXPECT_FALSE(isSqlite() && fs::exists(options.file));
  init(true);  // nothing is in the way
}

TEST_P(Init, TablesRefuseWhatTheCacheCouldNotUse) {
  init();
  place->run("INSERT INTO policy VALUES (1, 1, 'p', 0)");
  for (const char* bad :
       {"policy VALUES (2, NULL, 'p', 0)", "policy VALUES (1, 1, 'p', 0)", "policy VALUES (2, 1, 'p', 2)",
        "policy VALUES (2147483648, 1, 'p', 0)", "policy VALUES (3, 1, NULL, 0)",
        "policy_rule VALUES (9, 1, 1, 1, 'r', 0, 'a')", "ep_link VALUES (1, 7, 'u', 1, 1)",
        "group_member VALUES ('g', NULL)", "group_member VALUES ('g', 'u'), ('g', 'u')",
        "ep_link VALUES (1, 1, 'u', 9, 1)", "ep_link VALUES (1, 1, 'u', 1, 'soon')"}) {
    const std::string pragma = isSqlite() ? "PRAGMA foreign_keys = ON; " : "";
    EXPECT_THROW(place->run(pragma + "INSERT INTO " + bad), std::runtime_error) << bad;
  }
  if (isSqlite()) return;
  place->run("INSERT INTO group_member VALUES (repeat('g', 1300), repeat('u', 1300))");
  EXPECT_THROW(place->run("INSERT INTO group_member VALUES (repeat('g', 1300), repeat('u', 1301))"),
               std::runtime_error);
}

TEST_P(Init, SchemaThatThisProgramDoesNotKnowIsRefused) {
  const std::pair<const char*, const char*> schemas[] = {
      {"", "holds no policy database"},
      {"CREATE TABLE policy_revision (a INTEGER)", "holds no policy database"},
      {"DROP TABLE policy_revision; CREATE TABLE policy_revision (epoch TEXT, revision TEXT, schema_version TEXT)",
       "policy_revision has lost its row; put one back, with a new epoch: INSERT INTO policy_revision (epoch, "
       "revision, schema_version) VALUES ('"},
      {"INSERT INTO policy_revision VALUES ('e', '1', NULL)", "the row of policy_revision is none"},
      {"UPDATE policy_revision SET schema_version = '3'", "its schema version 3 is newer than this program's 2"},
      {"UPDATE policy_revision SET schema_version = '1'", "policy database"},
      {"CREATE TABLE policy (n INTEGER)", "policy database"},
  };
  place->run("CREATE TABLE other (n INTEGER);");
  for (const auto& [change, text] : schemas) {
    if (*change != '\0') place->run(change);
    const Failure failure = failureOf([&] { load(); });
    EXPECT_EQ(failure.kind, ErrorKind::kNotPolicyDatabase) << change;
    EXPECT_THAT(failure.text, HasSubstr(text));
    EXPECT_EQ(failure.text.find('\n'), std::string::npos);
  }
}

TEST(InitSqlite, FileIsMadeInWalModeAtAnyPath) {
  keepOdbcDriversLoaded();
  TempFolder folder;
  std::string longPath = folder.path().string();
  while (longPath.size() < 900)
    longPath += "/.";
  for (const std::string& path : {folder.file("a ;#]=[\"'%s\xff\n\\.db"), longPath + "/p.db"}) {
    zrhost::DatabaseOptions options;
    options.sqlDirectory = ZR_TEST_SCHEMA;
    options.file = path;
    PolicyDatabase::init(options, {true, false});
    EXPECT_EQ(readFile(path)[18], 2) << path;  // the file format's mark of a write-ahead log
    EXPECT_EQ(PolicyDatabase(options).revision().schemaVersion, 2);
  }
}

TEST(InitSqlite, JournalOfAnEarlierDatabaseIsNotPlayedBackIntoTheNewOne) {
  keepOdbcDriversLoaded();
  TempFolder folder;
  zrhost::DatabaseOptions options;
  options.file = folder.file("p.db");
  folder.write("p.db-wal", "old");
  const Failure failure = failureOf([&] { PolicyDatabase::init(options, {}); });
  EXPECT_EQ(failure.kind, ErrorKind::kTablesPresent);
  EXPECT_THAT(failure.text, HasSubstr("p.db-wal' of an earlier database is there"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}

TEST(InitPostgres, UserWithoutTheRightToCreateTablesIsToldWhichOneIsMissing) {
  const auto place = makePostgresPlace();
  place->run("DROP ROLE IF EXISTS novice; CREATE ROLE novice; ALTER ROLE postgres IN DATABASE " + place->options().dsn +
             " SET ROLE novice");
  const Failure failure = failureOf([&] { PolicyDatabase::init(place->options(), {}); });
  EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
  EXPECT_THAT(failure.text, HasSubstr("have its owner run: GRANT CREATE ON SCHEMA public TO novice"));
}

}  // namespace
}  // namespace zrtest
