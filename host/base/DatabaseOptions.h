#pragma once

#include <string>

namespace zrhost {

// Where the policy database is and how to reach it. Exactly one of `file` and `dsn` is given (requireOneDatabase). What
// stands here is also the default of the setting that gives it.
struct DatabaseOptions {
  std::string file;          // an SQLite file
  std::string dsn;           // an ODBC data source
  std::string user;          // for the data source; empty: whatever the data source says
  std::string password;      // never shown
  std::string sqlDirectory;  // the statement files; empty: findSqlDirectory() (host/database/sql_directory.h)
  int poolSize = 1;          // connections, at least 1
  int connectTimeout = 5;    // seconds for one attempt to connect (to each address that the server's name has)
  int retryWait = 1;         // seconds between two attempts
  int retries = 1;           // attempts in all, at least 1
  int readTimeout = 60;      // seconds that a server may say nothing while a statement or the next row is waited for

  // Called with one whole line for the user when a server has said nothing for so long, from a thread of its own, while
  // the driver waits on and cannot be interrupted: it must end the process, and never returns. Null: it is waited for
  // without end.
  void (*onSilence)(const std::string& text) = nullptr;
};

// Throws HostError kUsage unless exactly one of file and data source is given.
void requireOneDatabase(const DatabaseOptions& options);

// How messages name the database: "'FILE'" or "data source 'NAME'".
std::string placeOf(const DatabaseOptions& options);

}  // namespace zrhost
