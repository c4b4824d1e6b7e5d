#include "service/Identity.h"

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrservice {

using zrhost::ErrorKind;
using zrhost::HostError;

void dropRoot(const std::string& user) {
  if (geteuid() != 0) return;
  if (user.empty())
    throw HostError(ErrorKind::kUsage, "started by root, and [service] user is not set; name whom to become");
  const passwd* const found = getpwnam(user.c_str());
  if (found == nullptr || found->pw_uid == 0)
    throw HostError(ErrorKind::kUsage, "[service] user = \"" + zrhost::shortened(user) +
                                           "\": " + (found == nullptr ? "no user of this name" : "root itself"));
  if (initgroups(user.c_str(), found->pw_gid) != 0 || setresgid(found->pw_gid, found->pw_gid, found->pw_gid) != 0 ||
      setresuid(found->pw_uid, found->pw_uid, found->pw_uid) != 0 || setuid(0) == 0)
    throw HostError(ErrorKind::kInputOutput,
                    "cannot become the user " + zrhost::terminalText(user) + ": " + std::strerror(errno));
}

}  // namespace zrservice
