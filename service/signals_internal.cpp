#include "service/signals_internal.h"

#include <pthread.h>

namespace zrservice {

Signals::Signals() {
  std::signal(SIGPIPE, SIG_IGN);
  sigemptyset(&m_set);
  for (const int number : {SIGHUP, SIGTERM, SIGINT})
    sigaddset(&m_set, number);
  pthread_sigmask(SIG_BLOCK, &m_set, nullptr);
}

int Signals::wait() const {
  int number = -1;
  while (number < 0)
    number = sigwaitinfo(&m_set, nullptr);
  return number;
}

std::optional<int> Signals::waitFor(timespec limit) const {
  const int number = sigtimedwait(&m_set, nullptr, &limit);
  return number < 0 ? std::nullopt : std::optional(number);
}

void Signals::letThemEnd() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGTERM, SIGINT}) {
    std::signal(number, SIG_DFL);
    sigaddset(&set, number);
  }
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace zrservice
