#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "db/ZrDataAccess.h"
#include "host/host_test_support.h"

using testing::HasSubstr;
using testing::Not;
using zrhost::DatabaseOptions;
using zrhost::PolicyDatabase;
namespace fs = std::filesystem;

namespace zrtest {
namespace {

Failure opening(const DatabaseOptions& options) {
  return failureOf([&] { PolicyDatabase(options).revision(); });
}

DatabaseOptions fileOptions(const std::string& file) {
  DatabaseOptions options;
  options.file = file;
  options.retryWait = 0;
  return options;
}

TEST(Unreachable, FilesThatCannotBeOpenedAreToldApart) {
  keepOdbcDriversLoaded();
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
       "it is no SQLite database"},
      {folder.write("head.db", std::string("SQLite format 3\0", 16) + std::string(4096, 'x')),
       ErrorKind::kNotPolicyDatabase, "no SQLite database"},
      {folder.write("empty.db", ""), ErrorKind::kNotPolicyDatabase, "holds no policy database"},
      {deep + "/p.db", ErrorKind::kUnreachable, "SQLite takes 510"},
      {folder.file("link"), ErrorKind::kUnreachable, "there is no such file"},
  };
  for (const auto& c : cases) {
    const Failure failure = opening(fileOptions(c.file));
    EXPECT_EQ(failure.kind, c.kind) << c.file;
    EXPECT_THAT(failure.text, HasSubstr(c.text));
    EXPECT_THAT(failure.text, HasSubstr("'" + c.file + "'"));
  }
  EXPECT_FALSE(fs::exists(folder.file("missing.db")));
  EXPECT_FALSE(fs::exists(folder.file("nowhere")));
}

TEST(Unreachable, LockedFileIsGivenUpAndReadAgainAfterwards) {
  const auto place = makeSqlitePlace();
  const DatabaseOptions options = place->options();
  PolicyDatabase::init(options, {});
  place->run("PRAGMA journal_mode = DELETE");
  OdbcEntries entries;
  const std::string dsn = OdbcEntries::freshName();
  entries.addSqlite(dsn, options.file);
  ZrDbConnect writer;
  writer.connect("", dsn.c_str(), "", "");
  PolicyDatabase database(options);
  writer.executeSQL("BEGIN EXCLUSIVE", ZrDbConnect::SQLTYPE_ANSI);
  for (const Failure& failure : {failureOf([&] { database.revision(); }), failureOf([&] {
                                   PolicyDatabase::init(options, {false, true});
                                 })}) {
    EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
    EXPECT_THAT(failure.text, HasSubstr("is locked by another program"));
  }
  writer.executeSQL("ROLLBACK", ZrDbConnect::SQLTYPE_ANSI);
  EXPECT_EQ(database.revision().revision, 0);
}

TEST(Unreachable, DataSourcesThatDoNotConnectAreToldApart) {
  auto& server = PostgresServer::shared();
  server.run("postgres", "DROP ROLE IF EXISTS clerk; CREATE ROLE clerk LOGIN PASSWORD 'right-secret'");
  const auto foreign = makePostgresPlace();
  PolicyDatabase::init(foreign->options(), {});
  OdbcEntries entries;
  entries.addPostgres("live", server.socketFolder(), "postgres");
  entries.addPostgres("nodb", server.socketFolder(), "nosuchdb");
  entries.addPostgres("dead", entries.folder().path().string(), "postgres");
  entries.addPostgres("foreign", server.socketFolder(), foreign->options().dsn);
  entries.add("nodriver", "Driver=Nonexistent\n");
  const struct {
    const char* dsn;
    const char* password;
    const char* text;
  } cases[] = {
      {"missing", "x", "unknown data source 'missing'"},
      {"live", "wrong-secret", "wrong user or password"},
      {"dead", "x-secret", "does not answer"},
      {"nodb", "right-secret", "database \"nosuchdb\" does not exist"},
      {"foreign", "right-secret", "no permission"},
      {"nodriver", "x-secret", "or its driver is; check odbc.ini"},
  };
  for (const auto& c : cases) {
    DatabaseOptions options;
    options.dsn = c.dsn;
    options.user = "clerk";
    options.password = c.password;
    options.retryWait = 0;
    const Failure failure = opening(options);
    EXPECT_EQ(failure.kind, ErrorKind::kUnreachable) << c.dsn;
    EXPECT_THAT(failure.text, HasSubstr(c.text));
    EXPECT_THAT(failure.text, HasSubstr("'" + std::string(c.dsn) + "'"));
    EXPECT_THAT(failure.text, Not(HasSubstr("secret")));
  }
}

TEST(Unreachable, ConnectionLostBetweenReadsIsReplaced) {
  const auto place = makePostgresPlace();
  PolicyDatabase::init(place->options(), {true, false});
  PolicyDatabase database(place->options());
  place->run(
      "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = current_database() AND pid <> "
      "pg_backend_pid()");
  EXPECT_EQ(failureOf([&] { database.revision(); }).kind, ErrorKind::kUnreachable);
  EXPECT_EQ(zrhost::Snapshot::load(database)->report().policies, 22u);
}

}  // namespace
}  // namespace zrtest
