#pragma once

#include <string>

namespace zrservice {

// Becomes that user for good, with the user's groups; does nothing for a process that is not root's. Throws HostError
// kUsage for root without a user, and for a user that there is not; kInputOutput when the system refuses.
void dropRoot(const std::string& user);

}  // namespace zrservice
