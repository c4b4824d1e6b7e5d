#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace zrservice {

// Whom a service that root started becomes.
struct Identity {
  std::string name;
  uid_t user;
  gid_t group;
};

// Nothing for a process that is not root's. Throws HostError kUsage for root without a user, for a user that there is
// not, and for root itself.
std::optional<Identity> identityToTake(const std::string& user);

// Becomes that user for good, with the user's groups. Its threads may lower their urgency to the last, and come back to
// the nice value that loading has. Throws HostError kInputOutput when the system refuses.
void become(const Identity& identity);

}  // namespace zrservice
