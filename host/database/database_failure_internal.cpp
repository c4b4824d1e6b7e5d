#include "host/database/database_failure_internal.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "host/base/terminal_text.h"
#include "host/log/LibraryErrors.h"

namespace zrhost {
namespace {

struct Cause {
  const char* mark;  // what the driver's diagnostics hold
  ErrorKind kind;
  const char* meaning;
};

// The first that fits counts. The states in brackets are SQLSTATEs.
constexpr Cause kStatementCauses[] = {
    {"database is locked", ErrorKind::kUnreachable, "is locked by another program; try again when that is done"},
    {"database table is locked", ErrorKind::kUnreachable, "is locked by another program; try again when that is done"},
    {"[State:55P03]", ErrorKind::kUnreachable, "is locked by another program; try again when that is done"},
    {"not a database", ErrorKind::kNotPolicyDatabase, "is no SQLite database; name another file"},
    {"malformed", ErrorKind::kNotPolicyDatabase, "is damaged; restore it from a backup"},
    {"unable to open database file", ErrorKind::kUnreachable,
     "cannot be opened; check that it and its folder may be used"},
    {"readonly database", ErrorKind::kUnreachable, "cannot be written: no permission; check the rights to it"},
    {"is full", ErrorKind::kInputOutput, "is out of disk space; make room"},
    {"disk I/O error", ErrorKind::kInputOutput, "cannot be read or written; check the disk"},
    {"[State:53100]", ErrorKind::kInputOutput, "is out of disk space; make room"},
    {"[State:42501]", ErrorKind::kUnreachable,
     "does not let this user do that: no permission; grant the right, or use another user"},
    {"permission denied", ErrorKind::kUnreachable,
     "does not let this user do that: no permission; grant the right, or use another user"},
    {"[State:25006]", ErrorKind::kUnreachable, "is read-only; use the primary server"},
    {"no such ", ErrorKind::kNotPolicyDatabase, "holds no policy database; make one with 'zrpolicy init'"},
    {"has no column", ErrorKind::kNotPolicyDatabase, "holds no policy database; make one with 'zrpolicy init'"},
    {"syntax error", ErrorKind::kNotPolicyDatabase, "holds no policy database; make one with 'zrpolicy init'"},
    {"[State:42", ErrorKind::kNotPolicyDatabase, "holds no policy database; make one with 'zrpolicy init'"},
    {"[State:22P02]", ErrorKind::kNotPolicyDatabase, "holds no policy database; make one with 'zrpolicy init'"},
};

constexpr Cause kConnectCauses[] = {
    {"[State:IM002]", ErrorKind::kUnreachable,
     "is unknown to the driver manager, or its driver is; check odbc.ini and odbcinst.ini"},
    {"[State:IM003]", ErrorKind::kUnreachable, "needs an ODBC driver that cannot be loaded; install it"},
    {"[State:01000]", ErrorKind::kUnreachable, "needs an ODBC driver that cannot be loaded; install it"},
    {"password", ErrorKind::kUnreachable, "refused the user: wrong user or password; check both"},
    {"[State:28", ErrorKind::kUnreachable, "refused the user: wrong user or password; check both"},
    {"Is the server running", ErrorKind::kUnreachable,
     "does not answer: the server is down or elsewhere; check that it runs and where"},
    {"ould not connect", ErrorKind::kUnreachable,
     "does not answer: the server is down or elsewhere; check that it runs and where"},
    {"onnection refused", ErrorKind::kUnreachable,
     "does not answer: the server is down or elsewhere; check that it runs and where"},
    {"connection to server", ErrorKind::kUnreachable, "refused the connection; check the data source"},
};

constexpr Cause kOtherStatement = {"", ErrorKind::kUnreachable, "failed; try again when the database is well"};
constexpr Cause kOtherConnect = {"", ErrorKind::kUnreachable, "refused the connection; check the data source"};

template <std::size_t N>
const Cause& causeIn(const Cause (&causes)[N], const std::string& diagnostics, const Cause& otherwise) {
  for (const Cause& cause : causes) {
    if (diagnostics.find(cause.mark) != std::string::npos) return cause;
  }
  return otherwise;
}

std::string withoutPassword(std::string text, const std::string& password) {
  constexpr std::size_t shortest = 4;  // what is shorter is part of too many words to tell anything
  for (std::size_t at = 0; password.size() >= shortest && (at = text.find(password, at)) != std::string::npos; at += 3)
    text.replace(at, password.size(), "***");
  return text;
}

std::string trimmed(const std::string& text) {
  const std::size_t from = text.find_first_not_of("- ");
  return from == std::string::npos ? std::string() : text.substr(from, text.find_last_not_of(' ') - from + 1);
}

HostError failure(const DatabaseOptions& options, const Cause& cause, const std::string& doing,
                  const std::string& details) {
  const std::string text = doing + placeOf(options) + " " + cause.meaning + " (" + details + ")";
  return {cause.kind, withoutPassword(oneLine(text), options.password)};
}

// An environment and a connection handle of the driver manager, freed on every way out.
class Probe {
 public:
  Probe() {
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &m_env))) return;
    SQLSetEnvAttr(m_env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, m_env, &m_dbc);
  }
  ~Probe() {
    if (m_connected) SQLDisconnect(m_dbc);
    if (m_dbc != nullptr) SQLFreeHandle(SQL_HANDLE_DBC, m_dbc);
    if (m_env != nullptr) SQLFreeHandle(SQL_HANDLE_ENV, m_env);
  }
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  // Answers the diagnostics of the attempt, or an empty text when it went well.
  std::string connect(const DatabaseOptions& options, const std::string& dsn) {
    if (m_dbc == nullptr) return "the driver manager gives no handle";
    const auto seconds = static_cast<std::uintptr_t>(options.connectTimeout);
    SQLSetConnectAttr(m_dbc, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(seconds), 0);
    m_connected = SQL_SUCCEEDED(
        SQLConnect(m_dbc, chars(dsn), SQL_NTS, chars(options.user), SQL_NTS, chars(options.password), SQL_NTS));
    if (m_connected) return {};
    std::array<char, 2048> buffer{};
    ZrDbConnect().getError(SQL_HANDLE_DBC, m_dbc, buffer.data(), static_cast<int>(buffer.size()));
    return trimmed(buffer.data());
  }

 private:
  static SQLCHAR* chars(const std::string& text) { return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str())); }

  SQLHENV m_env = nullptr;
  SQLHDBC m_dbc = nullptr;
  bool m_connected = false;
};

[[noreturn]] void throwFile(ErrorKind kind, const std::string& path, const std::string& why) {
  throw HostError(kind, oneLine("cannot open the database '" + path + "': " + why));
}

}  // namespace

void checkFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    throwFile(ErrorKind::kUnreachable, path,
              missing ? "there is no such file; make it with 'zrpolicy init' or name another" : std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) throwFile(ErrorKind::kUnreachable, path, "it is a folder; name a file");
  if (!S_ISREG(status.st_mode)) throwFile(ErrorKind::kUnreachable, path, "it is no regular file; name another");
  if (access(path.c_str(), R_OK) != 0) {
    throwFile(ErrorKind::kUnreachable, path, "no permission to read it; check the rights to it");
  }
  constexpr std::size_t longest = 510;  // SQLite's own limit, once links are resolved
  std::error_code ignored;
  if (const std::string full = std::filesystem::canonical(path, ignored).string(); full.size() > longest) {
    throwFile(ErrorKind::kUnreachable, path,
              "its full path has " + std::to_string(full.size()) + " bytes, SQLite takes " + std::to_string(longest) +
                  "; move it up");
  }
  static constexpr char magic[16] = "SQLite format 3";
  char start[sizeof magic] = {};
  std::ifstream file(path, std::ios::binary);
  file.read(start, sizeof start);
  const bool empty = file.eof() && file.gcount() == 0;
  if (!empty && std::memcmp(start, magic, sizeof magic) != 0) {
    throwFile(ErrorKind::kNotPolicyDatabase, path, "it is no SQLite database (not a database); name another file");
  }
}

HostError statementFailure(ZrDbConnect& connection, const DatabaseOptions& options, const std::string& doing,
                           const char* thrown) {
  std::array<char, 2048> buffer{};
  if (connection.m_hstmt != nullptr) {
    connection.getError(SQL_HANDLE_STMT, connection.m_hstmt, buffer.data(), static_cast<int>(buffer.size()));
  }
  const std::string diagnostics = trimmed(buffer.data());
  const std::string logged = takeLibraryErrors();
  std::string details = logged.empty() ? thrown : logged;
  if (details.find(diagnostics) == std::string::npos) details += ": " + diagnostics;
  return failure(options, causeIn(kStatementCauses, diagnostics, kOtherStatement), doing + ": ", details);
}

HostError connectFailure(const DatabaseOptions& options, const std::string& dsn, const char* thrown) {
  const std::string logged = takeLibraryErrors();
  const std::string diagnostics = Probe().connect(options, dsn);
  std::string details = logged.empty() ? thrown : logged;
  if (diagnostics.empty()) {
    static constexpr Cause busy = {
        "", ErrorKind::kUnreachable,
        "answers, but not with as many connections as asked for; try again, or ask for fewer"};
    return failure(options, busy, "cannot connect: ", details);
  }
  return failure(options, causeIn(kConnectCauses, diagnostics, kOtherConnect),
                 "cannot connect: ", details + ": " + diagnostics);
}

}  // namespace zrhost
