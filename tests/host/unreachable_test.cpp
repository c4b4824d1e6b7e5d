#include <chrono>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "common/fake_server.h"
#include "db/ZrDataAccess.h"
#include "host/host_test_support.h"

using testing::HasSubstr;
using testing::Not;
using zrhost::DatabaseOptions;
using zrhost::PolicyDatabase;
namespace fs = std::filesystem;

namespace {
int g_failingColumnCounts = 0;  // how many of the next calls fail, as those of a driver that runs out of memory do
std::string g_executed;         // each statement behind a semicolon
}  // namespace

extern "C" __attribute__((visibility("default"))) SQLRETURN SQLNumResultCols(SQLHSTMT statement, SQLSMALLINT* count) {
  static const auto real = reinterpret_cast<decltype(&SQLNumResultCols)>(dlsym(RTLD_NEXT, "SQLNumResultCols"));
  if (g_failingColumnCounts > 0) return --g_failingColumnCounts, SQL_ERROR;
  return real(statement, count);
}

extern "C" __attribute__((visibility("default"))) SQLRETURN SQLExecDirect(SQLHSTMT handle, SQLCHAR* sql,
                                                                          SQLINTEGER size) {
  static const auto real = reinterpret_cast<decltype(&SQLExecDirect)>(dlsym(RTLD_NEXT, "SQLExecDirect"));
  g_executed += std::string(";") + reinterpret_cast<const char*>(sql);
  return real(handle, sql, size);
}

namespace zrtest {
namespace {

Failure opening(const DatabaseOptions& options) {
  return failureOf([&] { PolicyDatabase(options).revision(); });
}

DatabaseOptions optionsFor(const std::string& file, const std::string& dsn) {
  DatabaseOptions options;
  options.file = file;
  options.dsn = dsn;
  options.sqlDirectory = ZR_TEST_SCHEMA;
  options.retryWait = 0;
  return options;
}

TEST(Unreachable, FilesThatCannotBeOpenedAreToldApartAndNeverMade) {
  const TempFolder folder;
  fs::create_symlink("nowhere", folder.file("link"));
  std::string deep = folder.path().string();
  while (deep.size() < 510)
    deep += "/" + std::string(100, 'd');
  fs::create_directories(deep);
  std::ofstream(deep + "/p.db");
  const struct {
    std::string file;
    ErrorKind kind;
    const char* text;
  } cases[] = {
      {folder.file("missing.db"), ErrorKind::kUnreachable, "there is no such file"},
      {folder.file("no/folder.db"), ErrorKind::kUnreachable, "there is no such file"},
      {folder.path().string(), ErrorKind::kUnreachable, "it is a folder"},
      {"/dev/null", ErrorKind::kUnreachable, "it is no regular file"},
      {folder.write("text.db", "this is a letter, not a database"), ErrorKind::kNotPolicyDatabase,
       "is no SQLite database"},
      {folder.write("head.db", std::string("SQLite format 3\0", 16) + std::string(4096, 'x')),
       ErrorKind::kNotPolicyDatabase, "is no SQLite database"},
      {folder.write("empty.db", ""), ErrorKind::kNotPolicyDatabase, "holds no policy database"},
      {deep + "/p.db", ErrorKind::kUnreachable, "SQLite takes 510"},
      {folder.file("link"), ErrorKind::kUnreachable, "there is no such file"},
  };
  OdbcEntries entries;
  for (const auto& c : cases) {
    const std::string dsn = OdbcEntries::freshName();
    entries.add(dsn, "Driver=SQLite3\nDatabase=" + c.file + "\n");
    for (const DatabaseOptions& options : {optionsFor(c.file, ""), optionsFor("", dsn)}) {
      const Failure failure = opening(options);
      EXPECT_EQ(failure.kind, c.kind) << c.file;
      EXPECT_THAT(failure.text, HasSubstr(c.text));
      EXPECT_THAT(failure.text, HasSubstr(placeOf(options)));
    }
  }
  EXPECT_FALSE(fs::exists(folder.file("missing.db")));
  EXPECT_FALSE(fs::exists(folder.file("nowhere")));
}

TEST(Unreachable, LockIsWaitedForOnceWhateverTheNumberOfConnections) {
  const auto place = makeSqlitePlace();
  PolicyDatabase::init(place->options(), {});
  EXPECT_THAT(g_executed, testing::ContainsRegex(";PRAGMA busy_timeout = 2[0-9]{3}; BEGIN IMMEDIATE"))
      << "half of 5 s, for the driver waits twice";
  place->run("PRAGMA journal_mode = DELETE");
  OdbcEntries entries;
  const std::string dsn = OdbcEntries::freshName();
  entries.addSqlite(dsn, place->options().file);
  entries.add("shortly", "Driver=SQLite3\nDatabase=" + place->options().file + "\nTimeout=500\n");
  ZrDbConnect writer;
  writer.connect("", dsn.c_str(), "", "");
  DatabaseOptions options = optionsFor("", "shortly");
  options.poolSize = 30;
  PolicyDatabase database(options);
  writer.executeSQL("BEGIN EXCLUSIVE", ZrDbConnect::SQLTYPE_ANSI);
  const auto begun = std::chrono::steady_clock::now();
  for (const Failure& failure : {opening(options), failureOf([&] { database.revision(); }), failureOf([&] {
                                   PolicyDatabase::init(options, {false, true});
                                 })}) {
    EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
    EXPECT_THAT(failure.text, HasSubstr("is locked by another program"));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(10));  // with a wait for each: 16 s
  writer.executeSQL("ROLLBACK", ZrDbConnect::SQLTYPE_ANSI);
  EXPECT_EQ(database.revision().revision, 0);
}

TEST(Unreachable, ServersThatRefuseAreToldApart) {
  auto& server = PostgresServer::shared();
  server.run("postgres",
             "CREATE ROLE clerk LOGIN PASSWORD 'right-secret'; CREATE ROLE barred LOGIN; CREATE ROLE late LOGIN "
             "PASSWORD 'right-secret' CONNECTION LIMIT 0; CREATE DATABASE closed; REVOKE CONNECT ON DATABASE closed "
             "FROM public");
  const FakeServer silent, starting("the database system is starting up"), full("sorry, too many clients already");
  OdbcEntries entries;
  entries.addPostgres("live", server.socketFolder(), "postgres");
  entries.addPostgres("nodb", server.socketFolder(), "password_policies");
  entries.addPostgres("closed", server.socketFolder(), "closed");
  entries.addPostgres("dead", entries.folder().path().string(), "postgres");
  entries.addPostgres("silent", silent.socketFolder(), "password");
  entries.addPostgres("starting", starting.socketFolder(), "postgres");
  entries.addPostgres("full", full.socketFolder(), "postgres");
  entries.add("nohost", "Driver=PostgreSQL Unicode\nServername=" + std::string(70, 'h') + "\nDatabase=password\n");
  entries.add("options", "Driver=PostgreSQL Unicode\nServername=/\nDatabase=x\npqopt=connect_timeout=9 bogus=1\n");
  entries.add("nodriver", "Driver=Nonexistent\n");
  entries.add("nolib", "Driver=/nonexistent/driver.so\n");
  const struct {
    const char* dsn;
    const char* user;
    const char* password;
    const char* text;
  } cases[] = {
      {"missing", "clerk", "x", "unknown data source 'missing'"},
      {"live", "clerk", "wrong-secret", "wrong user or password"},
      {"live", "clerk", "", "--password-file"},
      {"live", "barred", "x", "pg_hba.conf"},
      {"live", "late", "right-secret", "has no connection left"},
      {"full", "clerk", "x", "has no connection left"},
      {"nodb", "postgres", "database", "correct Database in odbc.ini"},
      {"nodb", "nosuchuser", "right-secret", "refused the user"},
      {"closed", "clerk", "right-secret", "the right to CONNECT"},
      {"dead", "clerk", "x", "does not answer: the server is down"},
      {"silent", "clerk", "x", "does not answer: what listens there says nothing"},
      {"starting", "clerk", "x", "is starting up"},
      {"nohost", "clerk", "x", "names a host that is unknown"},
      {"options", "clerk", "x", "bogus"},
      {"nodriver", "clerk", "x", "names a driver that is unknown"},
      {"nolib", "clerk", "x", "cannot be loaded; install it"},
  };
  for (const auto& c : cases) {
    DatabaseOptions options = optionsFor("", c.dsn);
    options.user = c.user;
    options.password = c.password;
    options.connectTimeout = 1;
    const Failure failure = opening(options);
    EXPECT_EQ(failure.kind, ErrorKind::kUnreachable) << c.dsn;
    EXPECT_THAT(failure.text, HasSubstr(c.text));
    EXPECT_THAT(failure.text, HasSubstr("'" + std::string(c.dsn) + "'"));
    EXPECT_THAT(failure.text, Not(HasSubstr("secret")));
    EXPECT_THAT(failure.text, Not(HasSubstr("***"))) << "what is masked in a name tells the password";
  }
}

TEST(Unreachable, AttemptsAreAsManyAsAsked) {
  const FakeServer server("password authentication failed for user \"clerk\"");
  OdbcEntries entries;
  entries.addPostgres("counted", server.socketFolder(), "postgres");
  DatabaseOptions options = optionsFor("", "counted");
  options.poolSize = 2;
  int before = 0;
  for (options.retries = 1; options.retries <= 3; before = server.answered(), ++options.retries) {
    EXPECT_THAT(opening(options).text, HasSubstr("wrong user or password"));
    EXPECT_EQ(server.answered() - before, options.retries);
  }
}

TEST(Unreachable, WhatAUserMayNotReadIsToldApartFromWhatIsNotThere) {
  auto& server = PostgresServer::shared();
  const auto place = makePostgresPlace();
  const std::string name = place->options().dsn;
  OdbcEntries entries;
  entries.addPostgres(name, server.socketFolder(), name);
  entries.addPostgres("careful", server.socketFolder(), name, "PostgreSQL Unicode",
                      "ReadOnly=1\nPassword=right\npqopt=connect_timeout=7\n");
  DatabaseOptions reader = optionsFor("", "careful");
  reader.user = "reader_of_" + name;
  const auto run = [&](const std::string& sql) { place->run(std::string("SET search_path = hidden; ") + sql); };
  const std::string alter = "ALTER ROLE " + reader.user;
  run("CREATE SCHEMA hidden; ALTER ROLE postgres IN DATABASE " + name + " SET search_path = hidden; CREATE ROLE " +
      reader.user + " LOGIN PASSWORD 'right'");
  const struct {
    std::string change;
    ErrorKind kind;
    const char* text;
  } steps[] = {
      {"", ErrorKind::kNotPolicyDatabase, "make one with 'zrpolicy init'"},
      {"init", ErrorKind::kUnreachable, "GRANT USAGE ON SCHEMA hidden"},
      {"GRANT USAGE ON SCHEMA hidden TO ", ErrorKind::kNotPolicyDatabase, "SET search_path = hidden"},
      {"ALTER ROLE ", ErrorKind::kUnreachable, "GRANT SELECT ON policy_revision"},
      {"GRANT SELECT ON policy_revision, policy, policy_rule TO ", ErrorKind::kUnreachable, "GRANT SELECT ON ep_link"},
      {"ALTER TABLE policy_rule RENAME rule_name TO name; GRANT SELECT ON ALL TABLES IN SCHEMA hidden TO ",
       ErrorKind::kNotPolicyDatabase, "its tables were altered"},
      {"DROP TABLE policy_rule CASCADE; SELECT 1 AS ", ErrorKind::kNotPolicyDatabase, "this table is missing"},
  };
  for (const auto& [change, kind, text] : steps) {
    if (change == "init") {
      PolicyDatabase::init(place->options(), {true, false});
    } else if (!change.empty()) {
      run(change + reader.user + (change == "ALTER ROLE " ? " SET search_path = hidden" : ""));
    }
    zrhost::LoadReport report;
    const Failure failure = failureOf([&, &reader = reader] {
      PolicyDatabase database(reader);
      report = zrhost::Snapshot::load(database)->report();
    });
    EXPECT_EQ(failure.kind, kind) << change;
    EXPECT_THAT(failure.text, HasSubstr(text));
    EXPECT_THAT(failure.text, Not(HasSubstr("COALESCE"))) << "the whole statement";
    EXPECT_EQ(failure.text.find("does not exist", failure.text.find("does not exist") + 1), std::string::npos);
  }
  EXPECT_THAT(failureOf([&] { PolicyDatabase::init(reader, {false, true}); }).text, HasSubstr("ReadOnly"));
}

TEST(Unreachable, TransactionThatWasNotDescribedIsNotLentAgain) {
  const auto place = makePostgresPlace();
  PolicyDatabase::init(place->options(), {});
  PolicyDatabase database(place->options());
  g_failingColumnCounts = 1;
  EXPECT_EQ(failureOf([&] { database.revision(); }).kind, ErrorKind::kUnreachable);
  place->run("INSERT INTO policy VALUES (1, 1, 'p', 0)");
  EXPECT_EQ(database.revision().revision, 1);
  EXPECT_EQ(place->run("SELECT COUNT(*) FROM pg_stat_activity WHERE datname = current_database() AND state LIKE "
                       "'idle in transaction%'"),
            "0\n");
}

TEST(Unreachable, ConnectionLostBetweenReadsIsReplaced) {
  const auto place = makePostgresPlace();
  PolicyDatabase::init(place->options(), {true, false});
  PolicyDatabase database(place->options());
  place->run(
      "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = current_database() AND pid <> "
      "pg_backend_pid()");
  EXPECT_THAT(failureOf([&] { database.revision(); }).text, HasSubstr("has dropped the connection"));
  EXPECT_EQ(zrhost::Snapshot::load(database)->report().policies, 22u);
}

}  // namespace
}  // namespace zrtest
