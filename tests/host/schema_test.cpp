#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <set>
#include <thread>

#include "db/ZrDataAccess.h"
#include "host/host_test_support.h"
#include "host/load/CacheSink.h"

using testing::ElementsAre;
using testing::HasSubstr;
using zrhost::LoadReport;
using zrhost::PolicyDatabase;
using zrhost::Revision;
using zrhost::UpgradeReport;
namespace fs = std::filesystem;

namespace zrtest {
namespace {

// What the version before this one made.
constexpr const char* kTriggersOfVersion1 =
    "CREATE FUNCTION policy_revision_raise() RETURNS trigger LANGUAGE plpgsql SECURITY DEFINER SET search_path = "
    "public,"
    " pg_temp AS $$ BEGIN UPDATE policy_revision SET revision = revision + 1; RETURN NULL; END $$;"
    "CREATE TRIGGER policy_change BEFORE INSERT OR UPDATE OR DELETE OR TRUNCATE ON policy FOR EACH STATEMENT"
    " EXECUTE FUNCTION policy_revision_raise(); ALTER TABLE policy ENABLE ALWAYS TRIGGER policy_change;"
    "CREATE TRIGGER ep_link_change BEFORE INSERT OR UPDATE OR DELETE OR TRUNCATE ON ep_link FOR EACH STATEMENT"
    " EXECUTE FUNCTION policy_revision_raise(); ALTER TABLE ep_link ENABLE ALWAYS TRIGGER ep_link_change;";

class Schema : public EveryDatabase {
 protected:
  bool isSqlite() const { return std::string(GetParam()) == "SQLite"; }
  Revision revision() { return PolicyDatabase(place->options()).revision(); }
  void makeVersion1() {
    std::string script;
    const std::set<fs::path> files(fs::directory_iterator(ZR_TEST_SCHEMA + folder() + "create"), {});
    for (const fs::path& file : files)
      script += readFile(file) + ";";
    place->run(
        script + (isSqlite() ? "" : kTriggersOfVersion1) +
        "INSERT INTO policy_revision VALUES ('old', 7, 1); INSERT INTO policy VALUES (1, 1, 'p', 1);"
        "INSERT INTO policy_rule VALUES (1, 1, 1, 247, 'r', 0, 'a'); INSERT INTO ep_link VALUES (1, 1, 'u', 1, 1)");
  }
  std::string folder() const { return isSqlite() ? "/sqlite/" : "/postgresql/"; }
};
INSTANTIATE_TEST_SUITE_P(, Schema, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

// How much the revision rises by a script, on SQLite and on PostgreSQL; -1: not tried there.
TEST_P(Schema, RevisionRisesWithEveryTransactionThatChangesSomething) {
  const struct {
    const char* script;
    int onSqlite;
    int onPostgres;
  } changes[] = {
      {"INSERT INTO policy VALUES (1, 1, 'p', 0)", 1, 1},
      {"UPDATE policy SET policy_name = 'q'", 1, 1},
      {"INSERT INTO policy_rule VALUES (1, 1, 1, 247, 'r', 0, 'a')", 1, 1},
      {"INSERT INTO ep_link VALUES (1, 1, 'u', 1, 1)", 1, 1},
      {"INSERT INTO group_member VALUES ('g', 'u'), ('g', 'v')", 2, 1},
      {"UPDATE group_member SET user_name = 'w' WHERE user_name = 'v'", 1, 1},
      {"BEGIN; DELETE FROM group_member; UPDATE ep_link SET priority = 2; COMMIT", 3, 1},
      {"BEGIN; DELETE FROM ep_link; DELETE FROM policy_rule; DELETE FROM policy; ROLLBACK", 0, 0},
      {"BEGIN; SAVEPOINT s; DELETE FROM ep_link; ROLLBACK TO s; COMMIT", 0, 0},
      {"BEGIN; UPDATE ep_link SET priority = 3; SAVEPOINT s; DELETE FROM ep_link; ROLLBACK TO s; COMMIT", 1, 1},
      {"BEGIN; SAVEPOINT s; DELETE FROM ep_link; ROLLBACK TO s; UPDATE ep_link SET priority = 4; COMMIT", 1, 1},
      {"SELECT 1 FROM policy", 0, 0},
      {"BEGIN; UPDATE policy SET policy_type = 2; SET CONSTRAINTS ALL IMMEDIATE; COMMIT", -1, 1},
      {"SET zrpolicy.noted_transaction = '1'; COPY group_member FROM STDIN;\na\tb\nc\td\n\\.\n", -1, 1},
      {"BEGIN; TRUNCATE policy CASCADE; TRUNCATE group_member; COMMIT", -1, 1},
      {"SET session_replication_role = replica; INSERT INTO policy SELECT n, 1, 'p', 0 FROM generate_series(1, 9) n",
       -1, 1},
  };
  init();
  for (const auto& change : changes) {
    const int expected = isSqlite() ? change.onSqlite : change.onPostgres;
    if (expected < 0) continue;
    const Revision before = revision();
    place->run(change.script);
    EXPECT_EQ(revision().revision, before.revision + expected) << change.script;
  }
}

struct MemberSink : zrhost::CacheSink {
  using CacheSink::CacheSink;
  void onMember(zrhost::MemberRow& row) override { members.push_back(*row.groupName + "," + *row.userName); }
  std::vector<std::string> members;
};

TEST_P(Schema, MembersAreReadInTheOrderOfTheirBytes) {
  init();
  place->run(
      "INSERT INTO group_member VALUES ('b', 'u'), ('a', 'u'), ('', ''), ('B', 'u'), ('ab', 'u'), ('\u00e9', 'u'),"
      "('a', 'U'), ('a-', 'u')");
  ZrPolicyCache cache;
  const zrhost::LoadOptions options;
  LoadReport report;
  zrhost::GroupMembers none;
  MemberSink sink(cache, none, options, report);
  PolicyDatabase(place->options()).read(sink);
  EXPECT_THAT(sink.members, ElementsAre(",", "B,u", "a,U", "a,u", "a-,u", "ab,u", "b,u", "\u00e9,u"));
}

TEST_P(Schema, Version1IsReadAndUpgradedWithContentAndEpoch) {
  makeVersion1();
  const Revision old = revision();
  const LoadReport before = load()->report();
  EXPECT_EQ(before.policies + before.rules + before.links(), 3u);
  EXPECT_EQ(old.schemaVersion, 1);

  UpgradeReport report = PolicyDatabase::upgrade(place->options());
  EXPECT_EQ(report.from * 10 + report.to, 12);
  EXPECT_EQ(revision(), (Revision{old.epoch, old.revision, 2}));
  const LoadReport after = load()->report();
  EXPECT_EQ(after.policies + after.rules + after.links(), 3u);
  place->run("BEGIN; INSERT INTO group_member VALUES ('g', 'u'); UPDATE policy SET policy_type = 3; COMMIT");
  EXPECT_EQ(revision().revision, old.revision + (isSqlite() ? 2 : 1));

  report = PolicyDatabase::upgrade(place->options());
  EXPECT_EQ(report.from * 10 + report.to, 22);
  place->run("UPDATE policy_revision SET schema_version = 3");
  EXPECT_EQ(failureOf([&] { PolicyDatabase::upgrade(place->options()); }).kind, ErrorKind::kNotPolicyDatabase);
}

TEST_P(Schema, UpgradeThatCannotBeDoneLeavesVersion1) {
  makeVersion1();
  const Revision old = revision();
  const TempFolder copy;
  auto options = place->options();
  fs::copy(ZR_TEST_SCHEMA, copy.path() / "sql", fs::copy_options::recursive);
  copy.write("sql" + folder() + "version_2/99_last.sql", "INSERT INTO nonsense VALUES (1)");
  options.sqlDirectory = (copy.path() / "sql").string();
  EXPECT_EQ(failureOf([&] { PolicyDatabase::upgrade(options); }).kind, ErrorKind::kInputOutput);
  place->run("CREATE TABLE group_member (mine INTEGER)");
  const Failure failure = failureOf([&] { PolicyDatabase::upgrade(place->options()); });
  EXPECT_EQ(failure.kind, ErrorKind::kTablesPresent);
  EXPECT_THAT(failure.text, HasSubstr("'group_member' is there already, though version 1 has none"));
  EXPECT_EQ(load()->report().revision, old);
}

class SchemaPostgres : public Schema {
 protected:
  // Runs statements as another role, as the documented grants allow.
  std::string as(const std::string& role, const std::string& sql) { return place->run("SET ROLE " + role + ";" + sql); }
  void expectRightsOfReaderAndWriter() {
    as("reader",
       "BEGIN; LOCK TABLE policy, policy_rule, ep_link, group_member, policy_revision IN ACCESS SHARE MODE;"
       "SELECT * FROM group_member; COMMIT");
    const std::int64_t before = revision().revision;
    as("writer",
       "INSERT INTO policy VALUES (99, 1, 'p', 0); UPDATE policy SET policy_type = 2 WHERE policy_id = 99;"
       "DELETE FROM policy WHERE policy_id = 99");
    EXPECT_EQ(revision().revision, before + 3);
    for (const char* sql :
         {"UPDATE policy_revision SET revision = 0", "DELETE FROM policy_change", "SELECT policy_revision_raise()"})
      EXPECT_THROW(as("writer", sql), std::runtime_error) << sql;
  }
};
INSTANTIATE_TEST_SUITE_P(, SchemaPostgres, testing::Values("PostgreSQL"), [](const auto& info) { return info.param; });

// The tables belong to `owner`; `postgres`, who is a superuser, makes or upgrades them.
TEST_P(SchemaPostgres, OwnersAndGrantsOutliveForceAndUpgradeByAnotherUser) {
  const char* owners =
      "SELECT DISTINCT r.rolname FROM pg_roles r, (SELECT relowner FROM pg_class WHERE relkind = 'r' AND relnamespace "
      "= "
      "'public'::regnamespace UNION SELECT proowner FROM pg_proc WHERE pronamespace = 'public'::regnamespace) o(id) "
      "WHERE r.oid = o.id";
  place->run("DROP ROLE IF EXISTS owner, reader, writer; CREATE ROLE owner; CREATE ROLE reader; CREATE ROLE writer");
  makeVersion1();
  place->run(
      "ALTER TABLE policy OWNER TO owner; ALTER TABLE policy_rule OWNER TO owner; ALTER TABLE ep_link OWNER TO owner;"
      "ALTER TABLE policy_revision OWNER TO owner; ALTER FUNCTION policy_revision_raise() OWNER TO owner;"
      "GRANT SELECT ON policy, policy_rule, ep_link, policy_revision TO reader;"
      "GRANT SELECT, INSERT, UPDATE, DELETE ON policy, policy_rule, ep_link TO writer");
  PolicyDatabase::upgrade(place->options());
  expectRightsOfReaderAndWriter();
  as("writer", "INSERT INTO group_member VALUES ('g', 'u')");
  EXPECT_EQ(place->run(owners), "owner\n");

  place->run("REVOKE INSERT ON group_member FROM writer; GRANT UPDATE (policy_name) ON policy TO reader");
  PolicyDatabase::init(place->options(), {true, true});
  expectRightsOfReaderAndWriter();
  EXPECT_EQ(place->run(owners), "owner\n");
  EXPECT_THROW(as("writer", "INSERT INTO group_member VALUES ('g', 'u')"), std::runtime_error);
  as("reader", "UPDATE policy SET policy_name = 'x'");
  place->run("DROP OWNED BY owner, reader, writer; DROP ROLE owner, reader, writer");
}

// A transaction that holds TRUNCATE shows its emptiness also to those whose snapshot is older, once it has ended.
TEST_P(SchemaPostgres, ReadersWaitForTruncateAndForTablesThatAreMadeAnew) {
  init(true);
  const std::string dsn = place->options().dsn;
  const auto waiting = [&] {
    while (PostgresServer::shared().run("postgres",
                                        "SELECT count(*) FROM pg_locks l JOIN pg_database d ON d.oid = "
                                        "l.database WHERE NOT granted AND datname = '" +
                                            dsn + "'") == "0\n")
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
  };
  ZrDbConnect writer;
  writer.connect("", dsn.c_str(), PostgresServer::kUser, "");
  const auto write = [&](const char* sql) { writer.executeSQL(sql, ZrDbConnect::SQLTYPE_ANSI); };
  for (const char* change : {"TRUNCATE ep_link", "ALTER TABLE ep_link RENAME TO other"}) {
    const std::int64_t before = revision().revision;
    write("BEGIN");
    write(change);
    LoadReport report;
    auto reader = std::async(std::launch::async, [&] { report = load()->report(); });
    waiting();
    write(*change == 'T' ? "INSERT INTO ep_link VALUES (1, 1, 'u', 1, 1)" : "ALTER TABLE other RENAME TO ep_link");
    write("COMMIT");
    reader.get();
    EXPECT_EQ(report.links(), 1u) << change;
    EXPECT_EQ(report.revision.revision, before + (*change == 'T' ? 1 : 0)) << change;
  }
  write("BEGIN");
  write("TRUNCATE ep_link");
  const Failure failure = failureOf([&] { load(); });
  EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
  EXPECT_THAT(failure.text, HasSubstr("is locked by another program"));
}

TEST_P(SchemaPostgres, SubscriberOfAReplicationRaisesItsOwnRevision) {
  init(true);
  const auto other = makePostgresPlace();
  PolicyDatabase::init(other->options(), {});
  const auto revisionThere = [&] { return PolicyDatabase(other->options()).revision().revision; };
  const auto arrived = [&](const std::string& links) {
    while (other->run("SELECT count(*) FROM ep_link") != links + "\n")
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
  };
  place->run("CREATE PUBLICATION p FOR TABLE policy, policy_rule, ep_link, group_member");
  place->run("SELECT pg_create_logical_replication_slot('s', 'pgoutput')");
  other->run("CREATE SUBSCRIPTION s CONNECTION 'host=" + PostgresServer::shared().socketFolder() +
             " user=postgres dbname=" + place->options().dsn + "' PUBLICATION p WITH (create_slot = false)");
  arrived("33");
  while (other->run("SELECT count(*) FROM pg_subscription_rel WHERE srsubstate <> 'r'") != "0\n")
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  std::int64_t before = revisionThere();
  EXPECT_EQ(before, 4);  // each table's first copy is a transaction
  const std::pair<const char*, const char*> changes[] = {
      {"INSERT INTO ep_link SELECT n, 6, 'x', 1, 1 FROM generate_series(100, 1099) n", "1033"},
      {"TRUNCATE ep_link", "0"},
  };
  for (const auto& [change, links] : changes) {
    place->run(change);
    arrived(links);
    EXPECT_EQ(revisionThere(), ++before) << change;
  }
  other->run("DROP SUBSCRIPTION s");
}

}  // namespace
}  // namespace zrtest
