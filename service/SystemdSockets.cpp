#include "service/SystemdSockets.h"

#include <cstdlib>
#include <fcntl.h>
#include <systemd/sd-daemon.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrservice {
namespace {

std::vector<ListenSocket>& listOf(HandedSockets& sockets, const std::string& name) {
  if (name == "policy") return sockets.policy;
  if (name == "socketmap") return sockets.socketmap;
  if (name == "admin") return sockets.admin;
  throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                          "the service manager handed over a socket '" + zrhost::terminalText(name) +
                              "'; its FileDescriptorName must be policy, socketmap or admin");
}

}  // namespace

HandedSockets takeHandedSockets() {
  char** names = nullptr;
  const int count = sd_listen_fds_with_names(1, &names);
  std::vector<std::string> kept;
  for (int i = 0; i < count; ++i) {
    kept.emplace_back(names[i]);
    std::free(names[i]);
  }
  std::free(names);
  HandedSockets sockets;
  for (int i = 0; i < count; ++i) {
    const int descriptor = SD_LISTEN_FDS_START + i;
    const std::string& name = kept[static_cast<std::size_t>(i)];
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    listOf(sockets, name).emplace_back(descriptor, "the service manager's socket " + name);
  }
  return sockets;
}

void tellManager(const std::string& state) {
  sd_notify(0, state.c_str());
}

}  // namespace zrservice
