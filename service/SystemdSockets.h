#pragma once

#include <string>

#include "service/Sockets.h"

namespace zrservice {

// What the service manager handed over (sd_listen_fds(3)), by the names of LISTEN_FDNAMES: "policy", "socketmap" and
// "admin". A kind of which there is one is not listened for elsewhere. Throws HostError kUsage for a socket of another
// name, and for what is no socket that connections are accepted from. To be called once, before there are threads.
Sockets takeHandedSockets();

// Tells the service manager a state (sd_notify(3)), when there is one.
void tellManager(const std::string& state);
// That settings are read again; READY=1 ends it.
void tellManagerOfReload();

}  // namespace zrservice
