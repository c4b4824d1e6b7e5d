#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "host/database/PolicyWriter.h"
#include "host/host_test_support.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using zrhost::DatabaseOptions;
using zrhost::LinkRow;
using zrhost::PolicyDatabase;
using zrhost::PolicyRow;
using zrhost::PolicyWriter;
using zrhost::WriteMode;

namespace zrtest {
namespace {

// Stages so many policies, each with a link, and applies them.
void applyPolicies(PolicyWriter& writer, int count, const std::string& name = "p") {
  for (int id = 1; id <= count; ++id)
    writer.stage(static_cast<std::uint64_t>(id), PolicyRow{std::to_string(id), "1", name, "0"});
  for (int id = 1; id <= count; ++id)
    writer.stage(static_cast<std::uint64_t>(count + id), LinkRow{std::nullopt, "6", "n", std::to_string(id), "99"});
  writer.rejectFaults(WriteMode::kMerge, [](const zrhost::StagedFault&) { ADD_FAILURE(); });
  writer.apply(WriteMode::kMerge);
}

void writePolicies(const DatabaseOptions& options, int count) {
  PolicyWriter writer(options);
  applyPolicies(writer, count);
  writer.commit();
}

class WriteFailure : public EveryDatabase {
 protected:
  std::string state() { return place->run("SELECT COUNT(*) FROM policy; SELECT COUNT(*) FROM ep_link;"); }
};
INSTANTIATE_TEST_SUITE_P(, WriteFailure, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

TEST_P(WriteFailure, ChangesNothingAndSaysWhatIsWrongWithTheTables) {
  const bool isSqlite = std::string(GetParam()) == "SQLite";
  const struct {
    const char* breaking;
    const char* mending;
    ErrorKind kind;
    const char* text;
  } cases[] = {
      {"UPDATE policy_revision SET schema_version = 1", "UPDATE policy_revision SET schema_version = 2",
       ErrorKind::kNotPolicyDatabase,
       "are of version 1, which is only read; bring them up to date with 'zrpolicy init "},
      {"ALTER TABLE policy RENAME COLUMN policy_name TO n", "ALTER TABLE policy RENAME COLUMN n TO policy_name",
       ErrorKind::kNotPolicyDatabase, "its tables were altered"},
      {"ALTER TABLE group_member RENAME TO members", "ALTER TABLE members RENAME TO group_member",
       ErrorKind::kNotPolicyDatabase, "group_member"},
      {isSqlite
           ? "CREATE TRIGGER own BEFORE INSERT ON ep_link WHEN NEW.priority = 99 BEGIN SELECT RAISE(ABORT, 'no 99'); "
             "END"
           : "ALTER TABLE ep_link ADD CONSTRAINT no_99 CHECK (priority <> 99)",
       isSqlite ? "DROP TRIGGER own" : "ALTER TABLE ep_link DROP CONSTRAINT no_99", ErrorKind::kBadRow,
       "refuses a row; correct that"},
  };
  init();
  const std::string before = state();
  for (const auto& [breaking, mending, kind, text] : cases) {
    place->run(breaking);
    const Failure failure = failureOf([&] { writePolicies(place->options(), 5); });
    place->run(mending);
    EXPECT_EQ(failure.kind, kind) << failure.text;
    EXPECT_THAT(failure.text, HasSubstr(text));
    EXPECT_EQ(state(), before);
  }
  writePolicies(place->options(), 5);
  EXPECT_NE(state(), before);
}

TEST_P(WriteFailure, SecondWriterGivesUpWhileReadersGoOnWithTheOldState) {
  init();
  const std::string before = state();
  PolicyWriter first(place->options());
  applyPolicies(first, 500);
  EXPECT_EQ(state(), before);
  EXPECT_EQ(load()->report().policies, 0u);
  const Failure failure = failureOf([&] { PolicyWriter second(place->options()); });
  EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
  EXPECT_THAT(failure.text, HasSubstr("is locked by another program; try again"));
  first.commit();
  EXPECT_EQ(failureOf([&] { first.commit(); }).kind, ErrorKind::kInternal);
  EXPECT_EQ(load()->report().policies, 500u);
}

TEST_P(WriteFailure, WriterThatIsKilledAtAnyMomentLeavesAllOrNothing) {
  init();
  for (int round = 0, whole = 0; whole < 2 && round < 100; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      PolicyWriter writer(place->options());
      applyPolicies(writer, 3000, std::to_string(round));
      writer.commit();
      _exit(0);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(round * 60));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string names = place->run("SELECT DISTINCT policy_name FROM policy");
    EXPECT_EQ(std::ranges::count(names, '\n'), names.empty() ? 0 : 1) << names;
    if (names == std::to_string(round) + "\n") ++whole;
  }
}

TEST_P(WriteFailure, RowThatCannotBeHeldIsNamedAndTheOthersGoIn) {
  init();
  PolicyWriter writer(place->options());
  const std::pair<PolicyRow, const char*> rows[] = {
      {{"1", "1", std::string("a\0b", 3), "0"}, "row 1: policy_name holds a zero byte"},
      {{"2", "1", std::nullopt, "0"}, "row 2: policy_name is NULL"},
      {{"3", "1", "p", "2"}, "row 3: is_default is '2', not a whole number from 0 to 1"},
      {{"4", "1", "\xff", "0"}, "row 4: policy_name holds bytes that are no UTF-8"},
  };
  std::uint64_t number = 0;
  for (const auto& [row, text] : rows) {
    const Failure failure = failureOf([&, &row = row] { writer.stage(++number, row); });
    if (number == 4 && std::string(GetParam()) == "SQLite") continue;
    EXPECT_EQ(failure.kind, ErrorKind::kBadRow);
    EXPECT_THAT(failure.text, HasSubstr(text));
  }
  writer.stage(5, PolicyRow{"5", "1", "\xc3\xa9", "0"});
  writer.apply(WriteMode::kMerge);
  writer.commit();
  EXPECT_EQ(place->run("SELECT MAX(policy_id) FROM policy"), "5\n");
}

TEST(WritePostgres, CharacterThatTheEncodingLacksIsNamedWithItsRow) {
  PostgresServer& server = PostgresServer::shared();
  OdbcEntries entries;
  DatabaseOptions options;
  options.dsn = OdbcEntries::freshName();
  options.user = PostgresServer::kUser;
  options.sqlDirectory = ZR_TEST_SCHEMA;
  server.run("postgres", "CREATE DATABASE " + options.dsn +
                             " ENCODING 'LATIN1' TEMPLATE template0 LC_COLLATE 'C' "
                             "LC_CTYPE 'C'");
  entries.addPostgres(options.dsn, server.socketFolder(), options.dsn, "PostgreSQL ANSI");
  PolicyDatabase::init(options, {});
  PolicyWriter writer(options);
  for (const auto& [number, name] : {std::pair(7u, "\xc3\xa9,\"\\"), {8u, "\xe2\x82\xac"}, {9u, "c"}})
    writer.stage(number, PolicyRow{std::to_string(number), "1", name, "0"});
  const Failure failure = failureOf([&] { writer.apply(WriteMode::kMerge); });
  EXPECT_EQ(failure.kind, ErrorKind::kBadRow);
  EXPECT_THAT(failure.text, HasSubstr("row 8: cannot write the rows"));
  EXPECT_EQ(failureOf([&] { writer.commit(); }).kind, ErrorKind::kInternal);
}

TEST(WritePostgres, RightsAreThoseOfTheManualAndAMissingOneIsNamed) {
  PostgresServer& server = PostgresServer::shared();
  const auto place = makePostgresPlace();
  const std::string name = place->options().dsn, role = "writer_of_" + name;
  OdbcEntries entries;
  entries.addPostgres(name, server.socketFolder(), name);
  PolicyDatabase::init(place->options(), {});
  DatabaseOptions options = place->options();
  options.user = role;
  options.password = "right";
  place->run("CREATE ROLE " + role + " LOGIN PASSWORD 'right'; REVOKE TEMPORARY ON DATABASE " + name + " FROM PUBLIC");
  const std::pair<std::string, const char*> steps[] = {
      {"", "GRANT SELECT ON policy_revision to the user"},
      {"GRANT SELECT ON policy, policy_rule, ep_link, group_member, policy_revision TO ",
       "GRANT SELECT, INSERT, UPDATE, DELETE ON policy to the user"},
      {"GRANT INSERT, UPDATE, DELETE ON policy, policy_rule, ep_link, group_member TO ", "GRANT TEMPORARY ON DATABASE"},
      {"ALTER ROLE " + role + " SET default_transaction_read_only = on; GRANT TEMPORARY ON DATABASE " + name + " TO ",
       "is read-only; use the primary server"},
  };
  for (const auto& [change, text] : steps) {
    if (!change.empty()) place->run(change + role);
    const Failure failure = failureOf([&] { writePolicies(options, 2); });
    EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
    EXPECT_THAT(failure.text, HasSubstr(text));
  }
  place->run("ALTER ROLE " + role + " RESET default_transaction_read_only");
  writePolicies(options, 2);
  EXPECT_EQ(place->run("SELECT COUNT(*) FROM ep_link"), "2\n");
}

TEST(WritePostgres, ServerThatGoesInTheMiddleTakesNothingIn) {
  PostgresServer server;
  const std::string name = server.createDatabase();
  OdbcEntries entries;
  entries.addPostgres(name, server.socketFolder(), name);
  DatabaseOptions options;
  options.dsn = name;
  options.user = PostgresServer::kUser;
  options.sqlDirectory = ZR_TEST_SCHEMA;
  PolicyDatabase::init(options, {});
  PolicyWriter writer(options);
  applyPolicies(writer, 10);
  server.stop(true);
  const Failure failure = failureOf([&] { writer.commit(); });
  EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
  EXPECT_THAT(failure.text, HasSubstr("has dropped the connection"));
  server.start();
  EXPECT_EQ(server.run(name, "SELECT COUNT(*) FROM policy"), "0\n");
}

}  // namespace
}  // namespace zrtest
