#include "common/postgres_server.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace zrtest {
namespace {

std::string programFolder() {
  std::vector<std::filesystem::path> found;
  std::error_code ignored;
  for (const auto& version : std::filesystem::directory_iterator("/usr/lib/postgresql", ignored)) {
    if (std::filesystem::exists(version.path() / "bin/postgres")) found.push_back(version.path() / "bin");
  }
  return found.empty() ? std::string() : std::max_element(found.begin(), found.end())->string();
}

// The server refuses to run as root; it then runs as the user that its package made.
void becomeServerUser() {
  if (geteuid() != 0) return;
  const passwd* user = getpwnam(PostgresServer::kUser);
  if (user == nullptr || setgid(user->pw_gid) != 0 || setuid(user->pw_uid) != 0) _exit(126);
}

pid_t spawn(const std::vector<std::string>& command, const std::string& output) {
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid != 0) return pid;
  setpgid(0, 0);  // a Ctrl-C of the terminal is for the tests, which end the server themselves
  becomeServerUser();
  prctl(PR_SET_PDEATHSIG, SIGQUIT);  // the server goes even when the tests are killed
  if (getppid() != parent) _exit(126);
  const int log = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  dup2(log, STDOUT_FILENO);
  dup2(log, STDERR_FILENO);
  std::vector<char*> argv;
  for (const std::string& word : command)
    argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

int waitFor(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return status;
}

}  // namespace

bool PostgresServer::installed() {
  return !programFolder().empty() && std::filesystem::exists(ZR_ODBC_DRIVER_FOLDER "/psqlodbcw.so");
}

PostgresServer& PostgresServer::shared() {
  static PostgresServer server;
  return server;
}

void PostgresServer::ownFolder() {
  if (geteuid() != 0) return;
  const passwd* user = getpwnam(kUser);
  if (user == nullptr || chown(m_folder.path().c_str(), user->pw_uid, user->pw_gid) != 0) {
    throw std::runtime_error("cannot hand the data folder to the user postgres");
  }
}

void PostgresServer::runOnce(const std::vector<std::string>& command) const {
  const std::string log = m_folder.file("setup.log");
  if (waitFor(spawn(command, log)) != 0) throw std::runtime_error(command.front() + " failed: " + readFile(log));
}

PostgresServer::PostgresServer() {
  ownFolder();
  runOnce({programFolder() + "/initdb", "-D", m_folder.file("data"), "-U", kUser, "-A", "trust", "--no-sync", "-E",
           "UTF8", "--locale=C"});
  // The first line that fits decides: the administrator comes in as he is, everyone else is asked for a password.
  m_folder.write("data/pg_hba.conf",
                 "local all,replication postgres trust\nlocal all barred reject\nlocal all all scram-sha-256\n");
  start();
}

PostgresServer::PostgresServer(const PostgresServer& primary) {
  ownFolder();
  runOnce({programFolder() + "/pg_basebackup", "-D", m_folder.file("data"), "-h", primary.socketFolder(), "-U", kUser,
           "-R", "-c", "fast", "--no-sync"});
  start();
}

PostgresServer::~PostgresServer() {
  stop();
}

void PostgresServer::start() {
  m_pid = spawn({programFolder() + "/postgres", "-D", m_folder.file("data"), "-k", socketFolder(), "-c",
                 "listen_addresses=", "-c", "fsync=off", "-c", "max_connections=40", "-c", "wal_level=logical"},
                m_folder.file("server.log"));
  for (int tries = 0; tries < 600; ++tries) {
    if (waitpid(m_pid, nullptr, WNOHANG) == m_pid) break;
    try {
      run("postgres", "SELECT 1");
      return;
    } catch (const std::runtime_error&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  throw std::runtime_error("the server does not come up: " + readFile(m_folder.file("server.log")));
}

void PostgresServer::stop(bool crash) {
  if (m_pid <= 0) return;
  kill(m_pid, crash ? SIGQUIT : SIGINT);
  waitFor(m_pid);
  m_pid = -1;
}

void PostgresServer::promote() {
  run("postgres", "SELECT pg_promote()");
}

std::string PostgresServer::createDatabase() {
  const std::string name = "test" + std::to_string(++m_databases);
  run("postgres", "CREATE DATABASE " + name);
  return name;
}

std::string PostgresServer::run(const std::string& database, const std::string& sql) const {
  const std::string script = m_folder.write("script.sql", sql);
  const std::string command = programFolder() + "/psql -X -q -A -t -v ON_ERROR_STOP=1 -h '" + socketFolder() + "' -U " +
                              kUser + " -d " + database + " -f '" + script + "'";
  return outputOf(command);
}

std::string outputOf(const std::string& command) {
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  char buffer[4096];
  while (const std::size_t size = fread(buffer, 1, sizeof buffer, pipe))
    output.append(buffer, size);
  if (pclose(pipe) != 0) throw std::runtime_error(output);
  return output;
}

}  // namespace zrtest
