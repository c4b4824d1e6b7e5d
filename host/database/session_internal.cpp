#include "host/database/session_internal.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <random>
#include <string_view>
#include <thread>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/database/connect_turn_internal.h"
#include "host/database/odbc_diagnostic_internal.h"
#include "host/database/sql_directory.h"
#include "host/log/LibraryErrors.h"
#include "support/PolicyLog.h"

namespace zrhost {
namespace {

constexpr const char* kFindTables = "find_tables.sql";

const DatabaseOptions& checked(const DatabaseOptions& options) {
  requireOneDatabase(options);
  if (options.poolSize < 1 || options.retries < 1 || options.readTimeout < 1) {
    throw HostError(ErrorKind::kUsage, "the pool size, the number of attempts and the time to read must be at least 1");
  }
  return options;
}

std::string sqlDirectoryOf(const DatabaseOptions& options) {
  std::string folder = options.sqlDirectory.empty() ? findSqlDirectory() : options.sqlDirectory;
  checkSqlDirectory(folder);
  return folder.back() == '/' ? folder : folder + '/';
}

// A file is no server: what it waits for ends by itself.
DatabaseOptions watched(DatabaseOptions options, const DataSource& source) {
  if (source.isSqlite()) options.onSilence = nullptr;
  return options;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::string databaseKind(const ZrDbConnect& connection) {
  std::array<char, 256> name{};
  SQLSMALLINT length = 0;
  SQLGetInfo(connection.m_hdbc, SQL_DBMS_NAME, name.data(), static_cast<SQLSMALLINT>(name.size()), &length);
  return lowerCase(name.data());
}

[[noreturn]] void refuse(const Session& session, const std::string& why) {
  throw HostError(ErrorKind::kNotPolicyDatabase, oneLine(placeOf(session.options()) + why));
}

// The content may be whole, so what is told puts the row back, with an epoch that says that the old state is unknown.
[[noreturn]] void refuseWithoutRow(Session& session) {
  int version = 1;
  session.run("list_tables.sql");
  while (session.next())
    if (lowerCase(session.text("table_name")) == "group_member") version = kSchemaVersion;
  refuse(session,
         " is damaged: policy_revision has lost its row; put one back, with a new epoch: INSERT INTO policy_revision "
         "(epoch, revision, schema_version) VALUES ('" +
             randomEpoch() + "', 0, " + std::to_string(version) + ")");
}

// Statements of files have blanks in front.
bool isBegin(const std::string& sql) {
  constexpr std::string_view kBegin = "begin";
  const std::size_t start = std::min(sql.find_first_not_of(' '), sql.size());
  return lowerCase(sql.substr(start, kBegin.size())) == kBegin;
}

SQLRETURN executeDirect(ZrDbConnect& connection, const std::string& sql) {
  auto* const text = reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str()));
  return SQLExecDirect(connection.getStmtHandle(), text, SQL_NTS);
}

long long millisecondsSince(std::chrono::steady_clock::time_point begun) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begun).count();
}

// The library would sleep after the last attempt as well, and make as many attempts for each connection of the pool.
template <typename Attempt>
auto withRetries(const DatabaseOptions& options, Attempt attempt) {
  for (int number = 1;; ++number) {
    try {
      return attempt();
    } catch (const HostError& error) {
      if (number >= options.retries) throw;
      PolicyLog::log(PolicyLog::LEVEL_WARNING, "attempt %d of %d: %s", number, options.retries, error.what());
    }
    std::this_thread::sleep_for(std::chrono::seconds(options.retryWait));
  }
}

}  // namespace

Source::Source(const DatabaseOptions& wanted, const std::string& file, Access access)
    : options(checked(wanted)),
      m_access(access),
      m_sqlDirectory(sqlDirectoryOf(options)),
      m_dataSource(options, file, access),
      m_watch(watched(options, m_dataSource)),
      m_sqlite(m_dataSource.isSqlite()) {
  const auto begun = std::chrono::steady_clock::now();
  m_pool.setDbConnectTimeOut(options.connectTimeout);
  m_pool.setDbRetrialTimeOut(0);
  m_pool.setDbReconnectTrial(1);
  connect();
  findStatements();
  PolicyLog::log(PolicyLog::LEVEL_INFO, "connected to %s (%d connections), statements in %s, %lld ms",
                 placeOf(options).c_str(), options.poolSize, m_statements.c_str(), millisecondsSince(begun));
}

void Source::connect() {
  withRetries(options, [this] { openPool(); });
  if (m_access != Access::kRead || !isRefusedToReader() || !m_dataSource.readUnlocked()) return;
  PolicyLog::log(PolicyLog::LEVEL_INFO, "%s is read without locks, which this user may not set",
                 placeOf(options).c_str());
  openPool();
}

void Source::openPool() {
  m_alias.emplace(m_dataSource.name(), placeOf(options));
  forgetConnectDiagnostic();
  takeLibraryErrors();
  SilenceWatch::Waiter waiter(m_watch);
  const std::string& dsn = m_dataSource.name();
  try {
    const ConnectScope scope(m_dataSource.isSqlite(), waiter);
    m_pool.init(dsn.c_str(), options.poolSize, dsn.c_str(), options.user.c_str(), m_dataSource.password().c_str());
  } catch (const char* thrown) {
    throw connectFailure(place(), connectDiagnostic(), thrown);
  }
}

// Whether SQLite would write to the file, or beside it, before it can read it.
bool Source::isRefusedToReader() {
  if (m_dataSource.sqliteFile() == nullptr) return false;
  constexpr SQLINTEGER kReadOnly = 8, kCannotOpen = 14;
  ZrDbConnect& connection = *m_pool.m_vecConnect.front();
  if (SQL_SUCCEEDED(executeDirect(connection, "SELECT 1 FROM sqlite_master"))) return false;
  const SQLINTEGER number = diagnosticOf(SQL_HANDLE_STMT, connection.m_hstmt).native;
  return number == kReadOnly || number == kCannotOpen;
}

void Source::findStatements() {
  const std::string kind = databaseKind(*m_pool.m_vecConnect.front());
  m_sqlite = kind == "sqlite";
  m_statements = m_sqlDirectory + kind + "/";
  std::error_code why;
  if (std::filesystem::is_directory(m_statements, why)) return;
  throw HostError(ErrorKind::kInputOutput, oneLine("there are no SQL statement files for the database in '" +
                                                   m_statements + "'" + (why ? " (" + why.message() + ")" : "") +
                                                   "; name the folder that holds a folder '" + kind + "'"));
}

void Source::throwIfChanged() const {
  if (m_dataSource.sqliteFile() != nullptr) m_dataSource.sqliteFile()->throwIfChanged();
}

bool Source::isFileReplaced() const {
  return m_dataSource.sqliteFile() != nullptr && m_dataSource.sqliteFile()->isReplaced();
}

ZrDbConnect* Source::lend() {
  SilenceWatch::Waiter waiter(m_watch);
  return withRetries(options, [&] {
    forgetConnectDiagnostic();
    takeLibraryErrors();
    try {
      const ConnectScope scope(m_dataSource.isSqlite(), waiter);
      return m_pool.getConnect();
    } catch (const char* thrown) {
      if (!connectDiagnostic().text.empty()) throw connectFailure(place(), connectDiagnostic(), thrown);
      throw HostError(ErrorKind::kUnreachable,
                      oneLine("no connection to " + placeOf(options) + ": " + thrown + "; try again"));
    }
  });
}

Session::Session(Source& source)
    : m_source(source), m_waiter(source.watch()), m_connection(source.lend()), m_lockWait(source.lockWait()) {}

Session::~Session() {
  try {
    endStatement();
    m_source.pool().returnConnect(m_connection);
  } catch (...) {  // no memory for the queue: the pool still owns the connection, and does not lend it again
  }
}

void Session::beginStatement(const std::string& name) {
  endStatement();
  const bool isPath = name.find('/') != std::string::npos;
  m_file = isPath ? name : m_source.statements() + name;
  m_doing = isPath ? "run '" + name + "'" : std::filesystem::path(name).stem().string();
  if (!isPath) std::replace(m_doing.begin(), m_doing.end(), '_', ' ');
  if (!m_task.empty()) m_doing = m_task;
}

void Session::endStatement() {
  if (!m_running) return;
  m_running = false;
  const std::string rows = m_connection->m_columnCount > 0 ? std::to_string(m_rows) + " rows, " : "";
  PolicyLog::log(PolicyLog::LEVEL_TRACE, "%s: %s%lld ms", m_file.c_str(), rows.c_str(), millisecondsSince(m_begun));
}

void Session::execute(const std::string& sql) {
  m_running = true;
  m_rows = 0;
  m_begun = Clock::now();
  try {
    if (m_source.isSqlite()) waitForLocks(sql);
    m_waiter.during([&] { m_connection->executeSQL(sql.c_str(), ZrDbConnect::SQLTYPE_ANSI); });
  } catch (const char* thrown) {
    fail(diagnosticOf(SQL_HANDLE_STMT, m_connection->m_hstmt), thrown);
  }
  m_lockWait -= static_cast<int>(millisecondsSince(m_begun));
}

// SQLite counts its wait for each statement anew, so it is told what is left.
void Session::waitForLocks(const std::string& sql) {
  constexpr int least = 100;
  // The driver waits twice for a transaction to begin.
  const int left = std::max(isBegin(sql) ? m_lockWait / 2 : m_lockWait, least);
  if (m_lockSet >= 0 && std::abs(m_lockSet - left) < least) return;
  executeDirect(*m_connection, "PRAGMA busy_timeout = " + std::to_string(left));
  m_lockSet = left;
}

bool Session::next() {
  if (m_connection->m_columnCount == 0) {
    throw HostError(ErrorKind::kInputOutput,
                    oneLine("the SQL statement file '" + m_file + "' answers no rows; correct it"));
  }
  try {
    if (m_waiter.during([this] { return m_connection->fetchNextRow(); }) == 0) return ++m_rows != 0;
  } catch (const char* thrown) {
    fail(diagnosticOf(SQL_HANDLE_STMT, m_connection->m_hstmt), thrown);
  }
  m_source.throwIfChanged();
  endStatement();
  return false;
}

void Session::take(const char* column, Field& field) {
  const char* text = value(column);
  // NULL reads as an empty text; only the column's record tells them apart.
  if (*text == '\0' && m_connection->m_mapColumn.find(column)->second->m_isNull) return field.reset();
  assign(field, text);
}

const char* Session::value(const char* column) {
  try {
    return m_connection->getColVal(column);
  } catch (const char*) {
    takeLibraryErrors();
    throw HostError(ErrorKind::kInputOutput,
                    oneLine("the SQL statement file '" + m_file + "' answers no column '" + column + "'; correct it"));
  }
}

SQLHSTMT Session::makeHandle() {
  SQLHSTMT handle = nullptr;
  if (SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, m_connection->m_hdbc, &handle))) return handle;
  fail(diagnosticOf(SQL_HANDLE_DBC, m_connection->m_hdbc), "no statement handle");
}

SQLRETURN Session::waitFor(const std::string& name, const std::function<SQLRETURN()>& wait) {
  beginStatement(name);
  return m_waiter.during(wait);
}

void Session::failOf(const std::string& name, SQLHSTMT handle) {
  beginStatement(name);
  fail(diagnosticOf(SQL_HANDLE_STMT, handle), "the driver said nothing");
}

void Session::fail(const Diagnostic& diagnostic, const char* thrown) {
  const FailurePlace place = m_source.place();
  const bool isExplained =
      m_file.ends_with(kFindTables) || place.sqlite || place.access == Access::kChange || place.access == Access::kMake;
  m_running = false;
  const HostError error = diagnostic.state == kNoSuchTable && !isExplained
                              ? missingTable(diagnostic, thrown)
                              : statementFailure(place, "cannot " + m_doing, m_file, diagnostic, thrown);
  m_sqlState = diagnostic.state;
  throw error;
}

// A server does not tell a table that is not there from one in a schema that this user does not search or may not use.
// Its catalogue does, once the transaction is over that it has broken off.
HostError Session::missingTable(const Diagnostic& diagnostic, const char* thrown) {
  const std::string doing = "cannot " + m_doing, file = m_file;
  const auto told = [&](ErrorKind kind, const std::string& meaning) {
    return failure(m_source.place(), kind, doing, meaning, diagnostic, thrown);
  };
  try {
    run("end_read.sql");
    run(kFindTables);
    if (!next()) return statementFailure(m_source.place(), doing, file, diagnostic, thrown);
    const std::string schema = text("schema_name");
    if (text("is_searched") == "1") {
      return told(ErrorKind::kNotPolicyDatabase,
                  "holds no whole policy database: this table is missing; restore it from a backup");
    }
    if (text("may_use") == "1") {
      return told(ErrorKind::kNotPolicyDatabase, "has its policy tables in the schema " + schema +
                                                     ", which this user does not search; ALTER ROLE ... SET "
                                                     "search_path = " +
                                                     schema);
    }
    return told(ErrorKind::kUnreachable, "has its policy tables in the schema " + schema +
                                             ", which this user may not use: no permission; GRANT USAGE ON SCHEMA " +
                                             schema + " to the user");
  } catch (const HostError&) {  // what is known without it has to do
    return statementFailure(m_source.place(), doing, file, diagnostic, thrown);
  }
}

Transaction::Transaction(Session& session, const char* begin, const char* undo) : m_session(session), m_undo(undo) {
  try {
    session.run(begin);
  } catch (...) {
    session.breakConnection();
    throw;
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

std::string randomEpoch() {
  std::random_device device;
  std::string epoch;
  while (epoch.size() < 32)
    epoch += "0123456789abcdef"[device() % 16];
  return epoch;
}

Revision readRevision(Session& session) {
  session.run("read_revision.sql");
  if (!session.next()) refuseWithoutRow(session);
  Field epoch, revision, version;
  session.take("epoch", epoch);
  session.take("revision", revision);
  session.take("schema_version", version);
  if (session.next()) refuse(session, " is damaged: policy_revision has more than one row; keep the right one");
  const auto number = strictNumber(revision.value_or(""), 0, std::numeric_limits<std::int64_t>::max());
  const auto schema = strictNumber(version.value_or(""), 1, std::numeric_limits<int>::max());
  if (!epoch || !number || !schema)
    refuse(session, " holds no policy database: the row of policy_revision is none; restore it from a backup");
  if (*schema > kSchemaVersion) {
    refuse(session, " cannot be read: its schema version " + *version + " is newer than this program's " +
                        std::to_string(kSchemaVersion) + "; use a newer program");
  }
  return {*epoch, *number, static_cast<int>(*schema)};
}

}  // namespace zrhost
