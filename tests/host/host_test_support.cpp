#include "host/host_test_support.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

#include "host/log/LibraryErrors.h"
#include "vexa/VexaLog.h"

namespace zrtest {
namespace {

class SqlitePlace : public Place {
 public:
  SqlitePlace() { keepOdbcDriversLoaded(); }
  zrhost::DatabaseOptions options() const override {
    zrhost::DatabaseOptions options;
    options.file = m_folder.file("policy.db");
    options.sqlDirectory = ZR_TEST_SCHEMA;
    options.retryWait = 0;
    return options;
  }
  std::string run(const std::string& sql) const override {
    const std::string script = m_folder.write("script.sql", ".timeout 5000\n" + sql + "\n");
    return outputOf("sqlite3 -bail '" + options().file + "' < '" + script + "'");
  }

 private:
  TempFolder m_folder;
};

class PostgresPlace : public Place {
 public:
  PostgresPlace() : m_database(PostgresServer::shared().createDatabase()) {
    m_entries.addPostgres(m_database, PostgresServer::shared().socketFolder(), m_database);
  }
  zrhost::DatabaseOptions options() const override {
    zrhost::DatabaseOptions options;
    options.dsn = m_database;
    options.sqlDirectory = ZR_TEST_SCHEMA;
    options.user = PostgresServer::kUser;
    options.retryWait = 0;
    return options;
  }
  std::string run(const std::string& sql) const override { return PostgresServer::shared().run(m_database, sql); }

 private:
  OdbcEntries m_entries;
  std::string m_database;
};

}  // namespace

std::unique_ptr<Place> makeSqlitePlace() {
  return std::make_unique<SqlitePlace>();
}

std::unique_ptr<Place> makePostgresPlace() {
  return std::make_unique<PostgresPlace>();
}

void EveryDatabase::makeLooseTables() {
  place->run(
      "CREATE TABLE policy (policy_id TEXT, policy_type TEXT, policy_name TEXT, is_default TEXT);"
      "CREATE TABLE policy_rule (policy_id TEXT, position TEXT, rule_id TEXT, rule_type TEXT, rule_name TEXT,"
      " ldap_setting TEXT, action TEXT);"
      "CREATE TABLE ep_link (link_id TEXT, entity_type TEXT, entity_name TEXT, policy_id TEXT, priority TEXT);"
      "CREATE TABLE group_member (group_name TEXT, user_name TEXT);"
      "CREATE TABLE policy_revision (epoch TEXT, revision TEXT, schema_version TEXT);"
      "INSERT INTO policy_revision VALUES ('e', '7', '2');"
      "INSERT INTO policy VALUES ('1', '5', 'one', '0');");
}

std::shared_ptr<const zrhost::Snapshot> EveryDatabase::load(const zrhost::LoadOptions& options) {
  zrhost::PolicyDatabase database(place->options());
  return zrhost::Snapshot::load(database, options);
}

}  // namespace zrtest

// The sink of a program like the command: errors explain failures, the rest is dropped.
void VEXA::Log::LogByLevel(VEXALogLevel level, const char* format, ...) {
  if (level != 1) return;
  char text[2048];
  std::va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  zrhost::noteLibraryError(text);
}
