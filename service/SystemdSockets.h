#pragma once

#include <string>
#include <vector>

#include "service/ListenSocket.h"

namespace zrservice {

// What the service manager handed over (sd_listen_fds(3)), by the names of LISTEN_FDNAMES: "policy", "socketmap" and
// "admin". A kind of which there is one is not listened for elsewhere.
struct HandedSockets {
  std::vector<ListenSocket> policy, socketmap, admin;
};

// Throws HostError kUsage for a socket of another name. To be called once, before there are threads.
HandedSockets takeHandedSockets();

// Tells the service manager a state (sd_notify(3)), when there is one.
void tellManager(const std::string& state);

}  // namespace zrservice
