#pragma once

#include <map>
#include <string>
#include <vector>

namespace zrtest {

// How one run of the zrpolicy command is set up.
struct CommandSetup {
  std::string input;                               // standard input
  std::vector<int> closed;                         // descriptors that the command is started without
  std::string outputPath;                          // where standard output goes instead ("/dev/full")
  std::map<std::string, std::string> environment;  // beside PATH; nothing else is handed on
};

struct CommandResult {
  int status = -1;  // the exit status; minus the signal that ended the command
  std::string out;
  std::string err;
};

// Runs the command that was built, as a process of its own, until it ends.
CommandResult runCommand(const std::vector<std::string>& arguments, const CommandSetup& setup = {});

// Expects an end with this status, nothing on standard output and one line on standard error that holds `named`.
void expectRefusal(const CommandResult& result, int status, const std::string& named);

// A running command whose standard input and output are pipes to this process; standard error goes to the test's.
class RunningCommand {
 public:
  explicit RunningCommand(const std::vector<std::string>& arguments, const CommandSetup& setup = {});
  ~RunningCommand();
  RunningCommand(const RunningCommand&) = delete;
  RunningCommand& operator=(const RunningCommand&) = delete;

  void send(const std::string& text);
  std::string readLine();
  void closeOutput();
  void signal(int number);
  // Closes the pipes and waits for the end.
  int wait();

 private:
  int m_pid;
  int m_input;
  int m_output;
};

// Runs statements on an SQLite file, which is created when it is missing.
void runSql(const std::string& file, const std::vector<std::string>& statements);

}  // namespace zrtest
