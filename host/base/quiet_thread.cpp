#include "host/base/quiet_thread.h"

#include <csignal>
#include <utility>

namespace zrhost {

std::thread quietThread(std::function<void()> run) {
  sigset_t all, old;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &old);
  try {
    std::thread thread(std::move(run));
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    return thread;
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    throw;
  }
}

}  // namespace zrhost
