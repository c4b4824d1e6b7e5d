#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "common/temp_folder.h"

namespace zrtest {

// A PostgreSQL server of this test process only: own data folder, listening on a Unix socket alone, ended by its
// process id. User "postgres" is trusted; a user with a password is asked for it.
class PostgresServer {
 public:
  static constexpr const char* kUser = "postgres";

  // Whether the server's programs and a driver for this build are on this machine.
  static bool installed();
  // The one server of this process, started when first asked for and ended when the process ends normally.
  static PostgresServer& shared();

  PostgresServer();
  // A standby of that one, by streaming replication; answers questions, takes no changes.
  explicit PostgresServer(const PostgresServer& primary);
  ~PostgresServer();
  PostgresServer& operator=(const PostgresServer&) = delete;

  std::string socketFolder() const { return m_folder.path().string(); }
  void start();
  // Ends the server; `crash` does so without a word to its clients' transactions.
  void stop(bool crash = false);
  // Makes a standby a primary, and waits until it takes changes.
  void promote();
  // A new, empty database of a name of its own.
  std::string createDatabase();
  // Runs statements through psql; answers what it printed, unaligned and without headers. Throws with psql's message.
  std::string run(const std::string& database, const std::string& sql) const;

 private:
  void ownFolder();
  void runOnce(const std::vector<std::string>& command) const;

  TempFolder m_folder;
  pid_t m_pid = -1;
  int m_databases = 0;
};

// What a shell command prints, on both streams; throws that text when the command fails.
std::string outputOf(const std::string& command);

}  // namespace zrtest
