#include "cli/command.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "common/odbc_entries.h"
#include "common/temp_folder.h"
#include "db/ZrDataAccess.h"

namespace zrtest {

namespace {

// Starts the command with these descriptors as 0 to 2; -1 leaves the test's own in place.
pid_t start(const std::vector<std::string>& arguments, const CommandSetup& setup, const int (&descriptors)[3]) {
  std::vector<std::string> words = {ZR_COMMAND};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> settings = {"PATH=/usr/bin:/bin"};
  for (const auto& [name, value] : setup.environment)
    settings.push_back(name + '=' + value);
  std::vector<char*> argv, environment;
  for (std::string& word : words)
    argv.push_back(word.data());
  for (std::string& setting : settings)
    environment.push_back(setting.data());
  argv.push_back(nullptr);
  environment.push_back(nullptr);
  const pid_t pid = fork();
  if (pid != 0) return pid;
  for (int i = 0; i < 3; ++i) {
    if (descriptors[i] >= 0) dup2(descriptors[i], i);
  }
  for (const int descriptor : setup.closed)
    close(descriptor);
  execve(ZR_COMMAND, argv.data(), environment.data());
  _exit(127);
}

int statusOf(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace

CommandResult runCommand(const std::vector<std::string>& arguments, const CommandSetup& setup) {
  const TempFolder folder;
  const std::string outputPath = setup.outputPath.empty() ? folder.file("out") : setup.outputPath;
  const int descriptors[3] = {open(folder.write("in", setup.input).c_str(), O_RDONLY | O_CLOEXEC),
                              open(outputPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600),
                              open(folder.file("err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)};
  CommandResult result;
  result.status = statusOf(start(arguments, setup, descriptors));
  for (const int descriptor : descriptors)
    close(descriptor);
  if (setup.outputPath.empty()) result.out = readFile(outputPath);
  result.err = readFile(folder.file("err"));
  return result;
}

void expectRefusal(const CommandResult& result, int status, const std::string& named) {
  EXPECT_EQ(result.status, status) << named << '\n' << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_THAT(result.err, testing::AllOf(testing::StartsWith("zrpolicy: "), testing::HasSubstr(named)));
  EXPECT_EQ(result.out, "");
}

RunningCommand::RunningCommand(const std::vector<std::string>& arguments, const CommandSetup& setup) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  m_pid = start(arguments, setup, {input[0], output[1], -1});
  close(input[0]);
  close(output[1]);
  m_input = input[1];
  m_output = output[0];
}

RunningCommand::~RunningCommand() {
  if (m_pid > 0) wait();
}

void RunningCommand::send(const std::string& text) {
  if (write(m_input, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the command does not read");
  }
}

std::string RunningCommand::readLine() {
  std::string line;
  for (char byte = 0; read(m_output, &byte, 1) == 1 && byte != '\n';)
    line += byte;
  return line;
}

void RunningCommand::closeOutput() {
  close(m_output);
  m_output = -1;
}

void RunningCommand::signal(int number) {
  kill(m_pid, number);
}

int RunningCommand::wait() {
  close(m_input);
  const int status = statusOf(m_pid);
  if (m_output >= 0) close(m_output);
  m_pid = -1;
  return status;
}

void runSql(const std::string& file, const std::vector<std::string>& statements) {
  OdbcEntries entries;
  const std::string dsn = OdbcEntries::freshName();
  entries.addSqlite(dsn, file);
  ZrDbConnect connection;
  connection.m_reconnectTrial = 1;
  connection.connect("", dsn.c_str(), "", "");
  for (const std::string& statement : statements)
    connection.executeSQL(statement.c_str(), ZrDbConnect::SQLTYPE_ANSI);
}

}  // namespace zrtest
