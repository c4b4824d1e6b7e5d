#pragma once

#include <vector>

#include "host/settings/Options.h"
#include "service/ListenSocket.h"

namespace zrservice {

// All that the service listens on.
struct Sockets {
  std::vector<ListenSocket> policy, socketmap, admin;
};

// Throws HostError kUsage for an address in the settings that cannot be listened on, before anything is opened.
void requireAddresses(const zrhost::Options& options);

// Takes what the service manager handed over (SystemdSockets.h) and opens the kinds that it did not. Throws as
// takeHandedSockets and ListenSocket do, and HostError kUsage when nobody could ask. To be called once, before there
// are threads.
Sockets openSockets(const zrhost::Options& options);

// Lets the process have as many descriptors as the settings' connections need, and the service beside them. Answers
// how many it may have, when they are too few; 0 otherwise.
unsigned long raiseDescriptorLimit(const zrhost::ServiceSection& settings);

}  // namespace zrservice
