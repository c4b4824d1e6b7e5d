#include "service/SystemdSockets.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/socket.h>
#include <systemd/sd-daemon.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrservice {
namespace {

[[noreturn]] void refuse(const std::string& why) {
  throw zrhost::HostError(zrhost::ErrorKind::kUsage, "the service manager handed over " + why);
}

std::vector<ListenSocket>& listOf(Sockets& sockets, const std::string& name) {
  if (name == "policy") return sockets.policy;
  if (name == "socketmap") return sockets.socketmap;
  if (name == "admin") return sockets.admin;
  refuse("a socket '" + zrhost::terminalText(name) + "'; its FileDescriptorName must be policy, socketmap or admin");
}

// Only once there is nothing wrong with it is a descriptor owned here.
void take(Sockets& sockets, int descriptor, const std::string& name) {
  std::vector<ListenSocket>& list = listOf(sockets, name);
  if (sd_is_socket(descriptor, AF_UNSPEC, SOCK_STREAM, 1) <= 0)
    refuse("'" + name + "', which is no stream socket that listens");
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
  list.emplace_back(descriptor, "the service manager's socket " + name);
}

}  // namespace

Sockets takeHandedSockets() {
  char** names = nullptr;
  const int count = sd_listen_fds_with_names(1, &names);
  if (count < 0) refuse(std::string("sockets in a way that cannot be read: ") + std::strerror(-count));
  std::vector<std::string> kept;
  for (int i = 0; i < count; ++i) {
    kept.emplace_back(names[i]);
    std::free(names[i]);
  }
  std::free(names);
  Sockets sockets;
  for (int i = 0; i < count; ++i)
    take(sockets, SD_LISTEN_FDS_START + i, kept[static_cast<std::size_t>(i)]);
  return sockets;
}

void tellManager(const std::string& state) {
  sd_notify(0, state.c_str());
}

void tellManagerOfReload() {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const long long microseconds = static_cast<long long>(now.tv_sec) * 1'000'000 + now.tv_nsec / 1000;
  tellManager("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(microseconds));
}

}  // namespace zrservice
