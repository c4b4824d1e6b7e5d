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
  int connectTimeout = 5;    // seconds for one attempt to connect
  int retryWait = 1;         // seconds after each failed attempt
  int retries = 1;           // attempts, at least 1
};

// Throws HostError kUsage unless exactly one of file and data source is given.
void requireOneDatabase(const DatabaseOptions& options);

// How messages name the database: "'FILE'" or "data source 'NAME'".
std::string placeOf(const DatabaseOptions& options);

}  // namespace zrhost
