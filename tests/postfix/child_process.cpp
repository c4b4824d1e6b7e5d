#include "postfix/child_process.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zrtest {
namespace {

std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& more) {
  std::vector<std::string> merged;
  for (char** own = environ; *own != nullptr; ++own) {
    const std::string setting = *own;
    if (more.count(setting.substr(0, setting.find('='))) == 0) merged.push_back(setting);
  }
  for (const auto& [name, value] : more)
    merged.push_back(name + '=' + value);
  return merged;
}

// A process that ends another when its parent is gone. A program cannot be told so itself: the kernel forgets that it
// was to be signalled as soon as it changes its user, as servers do.
pid_t startGuard(pid_t guarded) {
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid != 0) return pid;
  setpgid(0, 0);
  sigset_t gone;
  sigemptyset(&gone);
  sigaddset(&gone, SIGUSR1);
  sigprocmask(SIG_BLOCK, &gone, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGUSR1);
  for (int number = 0; getppid() == parent && number != SIGUSR1;)
    sigwait(&gone, &number);
  kill(guarded, SIGTERM);
  _exit(0);
}

void endAtOnce(pid_t pid) {
  if (pid <= 0) return;
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, const std::string& output,
                           const std::map<std::string, std::string>& environment) {
  std::vector<std::string> settings = mergedEnvironment(environment);
  const std::vector<char*> argv = pointersTo(command), envp = pointersTo(settings);
  m_pid = fork();
  if (m_pid < 0) throw std::runtime_error("cannot fork");
  if (m_pid > 0) {
    m_guard = startGuard(m_pid);
    return;
  }
  setpgid(0, 0);
  const int log = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
  dup2(log, STDOUT_FILENO);
  dup2(log, STDERR_FILENO);
  close(log);
  execve(argv[0], argv.data(), envp.data());
  _exit(127);
}

bool ChildProcess::runs() {
  if (m_pid > 0 && waitpid(m_pid, nullptr, WNOHANG) == m_pid) m_pid = -1;
  return m_pid > 0;
}

void ChildProcess::end(int signal) {
  endAtOnce(std::exchange(m_guard, -1));
  if (!runs()) return;
  kill(m_pid, signal);
  waitpid(m_pid, nullptr, 0);
  m_pid = -1;
}

void ChildProcess::signal(int number) const {
  if (m_pid > 0) kill(m_pid, number);
}

void pauseShortly() {
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

}  // namespace zrtest
