#include "host/database/database_failure_internal.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <string_view>

#include "host/base/terminal_text.h"
#include "host/log/LibraryErrors.h"

namespace zrhost {
namespace {

constexpr SQLINTEGER kAny = -1;

struct Cause {
  const char* state;  // what the SQLSTATE begins with
  SQLINTEGER native;  // the driver's number
  const char* words;  // what the text holds once the names in it are taken out
  ErrorKind kind;
  const char* meaning;
};

constexpr auto kUnreachable = ErrorKind::kUnreachable;
constexpr auto kOther = ErrorKind::kNotPolicyDatabase;
constexpr auto kFile = ErrorKind::kInputOutput;
constexpr auto kRow = ErrorKind::kBadRow;

constexpr const char* kLocked = "is locked by another program; try again when that is done";
constexpr const char* kAltered =
    "holds no policy database as it should be: its tables were altered, or are another program's; restore them, or "
    "name another database";
constexpr const char* kRefused = "refuses a row; correct that, or what its tables demand beside our own rules";
constexpr const char* kNoSuchCharacter = "has an encoding without one of the characters; correct the row";
constexpr const char* kNoSpace = "is out of disk space, or its temporary files are; make room";
constexpr const char* kBadStatement = "does not take the SQL statement file";
constexpr const char* kLost = "has dropped the connection; try again, and look after the server when it goes on";

// In each table the first that fits counts. These are by SQLite's numbers, which are as good as SQLSTATEs.
constexpr Cause kSqlite[] = {
    {"", 5, "", kUnreachable, kLocked},
    {"", 6, "", kUnreachable, kLocked},
    {"", 8, "", kUnreachable, "cannot be written: no permission; use the account of its owner"},
    {"", 10, "", kFile, "cannot be read or written; check the disk"},
    {"", 11, "", kOther, "is damaged; restore it from a backup"},
    {"", 13, "", kFile, kNoSpace},
    {"", 14, "", kUnreachable, "cannot be opened; check that it is there, and that this user may enter its folder"},
    {"", 19, "", kRow, kRefused},
    {"", 26, "", kOther, "is no SQLite database; name another file"},
    {"", 1, "no such table", kOther, "holds no policy database; make one with 'zrpolicy init'"},
    {"", 1, "no such column", kOther, kAltered},
    {"", 1, "has no column", kOther, kAltered},
    {"", 1, "", kFile, kBadStatement},
};

constexpr Cause kServer[] = {
    {kNoSuchTable, kAny, "", kOther, "holds no policy database; make one with 'zrpolicy init'"},
    {"42703", kAny, "", kOther, kAltered},
    {"22P02", kAny, "", kOther, kAltered},
    {"42804", kAny, "", kOther, kAltered},
    {"42883", kAny, "", kOther, kAltered},
    {"42", kAny, "", kFile, kBadStatement},
    {"55P03", kAny, "", kUnreachable, kLocked},
    {"57014", kAny, "", kUnreachable, "gave the statement up; try again, or raise its statement_timeout"},
    {"40", kAny, "", kUnreachable, "had to put another transaction first; try again"},
    {"23", kAny, "", kRow, kRefused},
    {"54", kAny, "", kRow, kRefused},
    {"P0001", kAny, "", kRow, kRefused},
    {"22021", kAny, "", kRow, kNoSuchCharacter},
    {"22P05", kAny, "", kRow, kNoSuchCharacter},
    {"25006", kAny, "", kUnreachable, "is read-only; use the primary server"},
    {"53100", kAny, "", kFile, kNoSpace},
    {"53", kAny, "", kUnreachable, "is out of memory or of connections; try again"},
    {"57P", kAny, "", kUnreachable, kLost},
    {"08", kAny, "", kUnreachable, kLost},
    {"HY000", kAny, "no connection to the server", kUnreachable, kLost},
    {"HY000", kAny, "closed the connection", kUnreachable, kLost},
    {"HY000", kAny, "Connection is readonly", kUnreachable,
     "is set to ReadOnly in odbc.ini; name a data source that may write"},
};

// A driver of PostgreSQL says 08001 and 101 whatever the server's reason was, and the text that the server sent. What
// stands before "FATAL: " is the driver's.
constexpr Cause kConnect[] = {
    {"IM002", kAny, "", kUnreachable, "names a driver that is unknown; install it, or check odbc.ini and odbcinst.ini"},
    {"IM003", kAny, "", kUnreachable, "needs an ODBC driver that cannot be loaded; install it"},
    {"01000", kAny, "open lib", kUnreachable, "needs an ODBC driver that cannot be loaded; install it"},
    {"08001", 202, "", kUnreachable, "has options that the driver refuses; correct pqopt in odbc.ini"},
    {"", kAny, "could not translate host name", kUnreachable,
     "names a host that is unknown; correct Servername in odbc.ini, or check the name service"},
    {"", kAny, "timeout expired", kUnreachable,
     "does not answer: what listens there says nothing; check the server, or give it more time (connect_timeout)"},
    {"", kAny, "no password supplied", kUnreachable,
     "asks for a password and none was given; give one with --password-file, [database] password_file or "
     "ZRPOLICY_PASSWORD"},
    {"", kAny, "FATAL: database \"\" does not exist", kUnreachable,
     "has no such database on its server; correct Database in odbc.ini"},
    {"", kAny, "FATAL: permission denied for database", kUnreachable,
     "does not let this user in; have the right to CONNECT to the database granted"},
    {"", kAny, "FATAL: role \"\" does not exist", kUnreachable,
     "does not know this user; correct --db-user or [database] user"},
    {"", kAny, "FATAL: too many connections", kUnreachable,
     "has no connection left; try again, or ask for fewer (pool_size)"},
    {"", kAny, "too many clients already", kUnreachable,
     "has no connection left; try again, or ask for fewer (pool_size)"},
    {"", kAny, "remaining connection slots", kUnreachable,
     "has no connection left; try again, or ask for fewer (pool_size)"},
    {"", kAny, "pg_hba.conf", kUnreachable,
     "does not let this user in from here; have the server's administrator add a line to pg_hba.conf"},
    {"", kAny, "authentication failed", kUnreachable, "refused the user: wrong user or password; check both"},
    {"28", kAny, "", kUnreachable, "refused the user: wrong user or password; check both"},
    {"", kAny, "FATAL: the database system is", kUnreachable, "is starting up or shutting down; try again"},
    {"57P03", kAny, "", kUnreachable, "is starting up or shutting down; try again"},
    {"", kAny, "SSL", kUnreachable, "and this side cannot agree on encryption; correct SSLmode in odbc.ini"},
    {"", kAny, "certificate", kUnreachable, "has a certificate that is not trusted; correct the certificates"},
    {"", kAny, "Is the server running", kUnreachable,
     "does not answer: the server is down or elsewhere; check that it runs and where"},
    {"", kAny, "o route to host", kUnreachable,
     "does not answer: the server is down or elsewhere; check that it runs and where"},
    {"", kAny, "etwork is unreachable", kUnreachable,
     "does not answer: the server is down or elsewhere; check that it runs and where"},
    {"", kAny, "closed the connection", kUnreachable, kLost},
};

constexpr Cause kOtherStatement = {"", kAny, "", kUnreachable, "failed; try again when the database is well"};
constexpr Cause kOtherConnect = {"", kAny, "", kUnreachable, "refused the connection; check the data source"};

// The text with nothing between double quotes: what a database, a user or a host is called is no cause.
std::string withoutNames(const std::string& text) {
  std::string rest;
  bool quoted = false;
  for (const char c : text) {
    if (c == '"') quoted = !quoted;
    if (!quoted || c == '"') rest += c;
  }
  return rest;
}

const Cause& causeIn(std::span<const Cause> causes, const Diagnostic& diagnostic, const Cause& otherwise) {
  const std::string words = withoutNames(diagnostic.text);
  const auto found = std::ranges::find_if(causes, [&](const Cause& cause) {
    return diagnostic.state.starts_with(cause.state) && (cause.native == kAny || cause.native == diagnostic.native) &&
           words.find(cause.words) != std::string::npos;
  });
  return found == causes.end() ? otherwise : *found;
}

// What follows "password=" in a driver's text, as libpq's options and connection strings have it. The password itself
// is not looked for: what is masked elsewhere would tell what it is.
std::string withoutPassword(std::string text) {
  for (const std::string_view mark : {"password=", "pwd="}) {
    const auto found = std::ranges::search(text, mark, [](unsigned char a, char b) { return std::tolower(a) == b; });
    text.erase(found.end(), found.empty() ? found.end() : text.end());
  }
  return text;
}

std::string details(const Diagnostic& diagnostic, const char* thrown) {
  const std::string logged = takeLibraryErrors();  // forgotten in any case: it may hold the whole statement
  if (diagnostic.text.empty()) return thrown;
  const bool tells = !diagnostic.state.empty() && diagnostic.state != "HY000";
  return withoutPassword(diagnostic.text) + (tells ? ", SQLSTATE " + diagnostic.state : "");
}

// What stands behind one of the words in a text like "permission denied for table policy".
std::string behind(const std::string& text, const char* words) {
  const std::size_t at = text.find(words);
  return at == std::string::npos ? std::string() : text.substr(at + std::char_traits<char>::length(words));
}

// What a program needs of a table: of policy_revision only to read it.
const char* rightsOn(const FailurePlace& place, const std::string& table) {
  return place.access == Access::kRead || table == "policy_revision" ? "SELECT" : "SELECT, INSERT, UPDATE, DELETE";
}

// Which right is missing, by the object that the server names.
std::string missingRight(const FailurePlace& place, const std::string& text) {
  const std::string schema = behind(text, "for schema "), table = behind(text, "for table ");
  const std::string database = behind(text, "temporary tables in database ");
  const bool making = place.access == Access::kMake || place.access == Access::kChange;
  const std::string lacks = "does not let this user do that: no permission; ";
  if (!database.empty()) return lacks + "GRANT TEMPORARY ON DATABASE " + database + " TO the user";
  if (!schema.empty())
    return lacks + "GRANT " + (making ? "CREATE" : "USAGE") + " ON SCHEMA " + schema + " to the user";
  if (!table.empty() && !making) return lacks + "GRANT " + rightsOn(place, table) + " ON " + table + " to the user";
  return lacks + (making ? "use the user that owns the tables" : "grant the right to the user");
}

}  // namespace

HostError failure(const FailurePlace& place, ErrorKind kind, const std::string& doing, const std::string& meaning,
                  const Diagnostic& diagnostic, const char* thrown) {
  return {kind, oneLine(doing + ": " + place.name + " " + meaning + " (" + details(diagnostic, thrown) + ")")};
}

HostError statementFailure(const FailurePlace& place, const std::string& doing, const std::string& file,
                           const Diagnostic& diagnostic, const char* thrown) {
  if (!place.sqlite && diagnostic.state == "42501") {
    return failure(place, kUnreachable, doing, missingRight(place, diagnostic.text), diagnostic, thrown);
  }
  const Cause& cause =
      place.sqlite ? causeIn(kSqlite, diagnostic, kOtherStatement) : causeIn(kServer, diagnostic, kOtherStatement);
  const std::string meaning = std::string_view(cause.meaning) == kBadStatement
                                  ? cause.meaning + (" '" + file + "'; correct it")
                                  : cause.meaning;
  return failure(place, cause.kind, doing, meaning, diagnostic, thrown);
}

HostError connectFailure(const FailurePlace& place, const Diagnostic& diagnostic, const char* thrown) {
  const Cause& general = causeIn(kConnect, diagnostic, kOtherConnect);
  const Cause& cause = place.sqlite ? causeIn(kSqlite, diagnostic, general) : general;
  return failure(place, cause.kind, "cannot connect", cause.meaning, diagnostic, thrown);
}

}  // namespace zrhost
