#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zrtest {

// A server that runs beside the test, in a process group of its own. It is ended with the object, and also
// when the test is killed.
class ChildProcess {
 public:
  // `output` is the file that takes what the program prints; `environment` goes on top of the test's own.
  ChildProcess(std::vector<std::string> command, const std::string& output,
               const std::map<std::string, std::string>& environment = {});
  ~ChildProcess() { end(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool runs();
  // Sends a signal and waits until the process has ended. Nothing happens to one that has ended.
  void end(int signal = 15);
  void signal(int number) const;

 private:
  pid_t m_pid;
  pid_t m_guard = -1;
};

void pauseShortly();

// Looks every few milliseconds whether something has come true; answers false when it has not for half a minute.
template <typename Condition>
bool comesTrue(Condition condition) {
  for (int tries = 0; tries < 6000; ++tries) {
    if (condition()) return true;
    pauseShortly();
  }
  return false;
}

}  // namespace zrtest
