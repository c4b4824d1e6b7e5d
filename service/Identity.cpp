#include "service/Identity.h"

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <sys/resource.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "live/LiveOptions.h"

namespace zrservice {

using zrhost::ErrorKind;
using zrhost::HostError;

std::optional<Identity> identityToTake(const std::string& user) {
  if (geteuid() != 0) return std::nullopt;
  if (user.empty())
    throw HostError(ErrorKind::kUsage, "started by root, and [service] user is not set; name whom to become");
  const passwd* const found = getpwnam(user.c_str());
  if (found == nullptr || found->pw_uid == 0)
    throw HostError(ErrorKind::kUsage, "[service] user = \"" + zrhost::shortened(user) +
                                           "\": " + (found == nullptr ? "no user of this name" : "root itself"));
  return Identity{user, found->pw_uid, found->pw_gid};
}

void become(const Identity& identity) {
  const auto [name, user, group] = identity;
  const auto limit = static_cast<rlim_t>(20 - zrlive::LiveOptions().nice);
  const rlimit nice{limit, limit};
  setrlimit(RLIMIT_NICE, &nice);  // without it, a load that gets no processor has to begin anew
  if (initgroups(name.c_str(), group) != 0 || setresgid(group, group, group) != 0 || setresuid(user, user, user) != 0 ||
      setuid(0) == 0)
    throw HostError(ErrorKind::kInputOutput,
                    "cannot become the user " + zrhost::terminalText(name) + ": " + std::strerror(errno));
}

}  // namespace zrservice
