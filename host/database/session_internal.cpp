#include "host/database/session_internal.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <limits>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/database/database_failure_internal.h"
#include "host/database/sql_directory.h"
#include "host/log/LibraryErrors.h"

namespace zrhost {
namespace {

const DatabaseOptions& checked(const DatabaseOptions& options) {
  requireOneDatabase(options);
  if (options.poolSize < 1 || options.retries < 1) {
    throw HostError(ErrorKind::kUsage, "the pool size and the number of attempts must be at least 1");
  }
  if (options.dsn.empty()) checkFile(options.file);
  return options;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::string databaseKind(ZrDbConnect& connection) {
  std::array<char, 256> name{};
  SQLSMALLINT length = 0;
  SQLGetInfo(connection.m_hdbc, SQL_DBMS_NAME, name.data(), static_cast<SQLSMALLINT>(name.size()), &length);
  return lowerCase(name.data());
}

}  // namespace

Source::Source(const DatabaseOptions& wanted)
    : options(checked(wanted)),
      m_sqlDirectory(options.sqlDirectory.empty() ? findSqlDirectory() : options.sqlDirectory),
      m_entries(options.dsn.empty() ? OdbcEntries::forFile(options.file) : OdbcEntries::forDsn(options.dsn)),
      m_alias(m_entries.dsn(), placeOf(options)) {
  if (m_sqlDirectory.back() != '/') m_sqlDirectory += '/';
  connect();
  findStatements();
}

void Source::connect() {
  m_pool.setDbConnectTimeOut(options.connectTimeout);
  m_pool.setDbRetrialTimeOut(options.retryWait);
  m_pool.setDbReconnectTrial(options.retries);
  takeLibraryErrors();
  const std::string& dsn = m_entries.dsn();
  try {
    m_pool.init(dsn.c_str(), options.poolSize, dsn.c_str(), options.user.c_str(), options.password.c_str());
  } catch (const char* thrown) {
    throw connectFailure(options, dsn, thrown);
  }
}

void Source::findStatements() {
  const std::string kind = databaseKind(*m_pool.m_vecConnect.front());
  m_sqlite = kind == "sqlite";
  m_statements = m_sqlDirectory + kind + "/";
  if (std::filesystem::is_directory(m_statements)) return;
  throw HostError(ErrorKind::kInputOutput,
                  oneLine("there are no SQL statement files for the database in '" + m_statements +
                          "'; name the folder that holds a folder '" + kind + "'"));
}

Session::Session(Source& source) : m_source(source) {
  takeLibraryErrors();
  try {
    m_connection = source.pool().getConnect();
  } catch (const char* thrown) {
    const std::string logged = takeLibraryErrors();
    throw HostError(ErrorKind::kUnreachable, oneLine("no connection to " + placeOf(source.options) + ": " +
                                                     (logged.empty() ? thrown : logged) + "; try again"));
  }
}

Session::~Session() {
  try {
    m_source.pool().returnConnect(m_connection);
  } catch (...) {  // no memory for the queue: the pool still owns the connection, and does not lend it again
  }
}

std::string Session::readTemplate(const std::string& path) const {
  try {
    return ZrSqlLoader().getSQL(path.c_str());
  } catch (const char* thrown) {
    throw HostError(ErrorKind::kInputOutput, oneLine(std::string("cannot read an SQL statement file: ") + thrown));
  }
}

std::string Session::checkedStatement(std::string sql, int size, const std::string& path) {
  if (static_cast<std::size_t>(size) >= sql.size()) {
    throw HostError(ErrorKind::kInputOutput,
                    oneLine("the SQL statement file '" + path + "' grows too long with its values"));
  }
  sql.resize(static_cast<std::size_t>(size));
  return sql;
}

void Session::execute(const std::string& name, const std::string& sql) {
  m_doing = std::filesystem::path(name).stem().string();
  std::replace(m_doing.begin(), m_doing.end(), '_', ' ');
  try {
    m_connection->executeSQL(sql.c_str(), ZrDbConnect::SQLTYPE_ANSI);
  } catch (const char* thrown) {
    throw statementFailure(*m_connection, options(), "cannot " + m_doing, thrown);
  }
}

bool Session::next() {
  try {
    return m_connection->fetchNextRow() == 0;
  } catch (const char* thrown) {
    throw statementFailure(*m_connection, options(), "cannot " + m_doing, thrown);
  }
}

std::string Session::text(const char* column) {
  try {
    return m_connection->getColVal(column);
  } catch (const char* thrown) {
    throw statementFailure(*m_connection, options(), "cannot " + m_doing, thrown);
  }
}

void Session::take(const char* column, Field& field) {
  try {
    const char* value = m_connection->getColVal(column);
    if (*value == '\0') return field.reset();
    field ? field->assign(value + 1) : field.emplace(value + 1);
  } catch (const char* thrown) {
    throw statementFailure(*m_connection, options(), "cannot " + m_doing, thrown);
  }
}

Transaction::~Transaction() {
  if (m_ended) return;
  try {
    m_session.run(m_undo);
  } catch (...) {  // the failure that led here is the one to report
    m_session.breakConnection();
  }
}

Revision readRevision(Session& session) {
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  const auto refuse = [&](const std::string& why) {
    throw HostError(ErrorKind::kNotPolicyDatabase,
                    oneLine(placeOf(session.options()) + " holds no policy database: " + why));
  };
  session.run("read_revision.sql");
  if (!session.next()) refuse("policy_revision has no row; make the tables anew with 'zrpolicy init --force'");
  Field epoch, revision, version;
  session.take("epoch", epoch);
  session.take("revision", revision);
  session.take("schema_version", version);
  if (session.next()) refuse("policy_revision has more than one row; keep the right one");
  const auto number = strictNumber(revision.value_or(""), 0, most);
  const auto schema = strictNumber(version.value_or(""), 1, std::numeric_limits<int>::max());
  if (!epoch || !number || !schema) refuse("the row of policy_revision is none; restore the database from a backup");
  if (*schema > kSchemaVersion) {
    refuse("its schema version " + *version + " is newer than this program's " + std::to_string(kSchemaVersion) +
           "; use a newer program");
  }
  return {*epoch, *number, static_cast<int>(*schema)};
}

}  // namespace zrhost
