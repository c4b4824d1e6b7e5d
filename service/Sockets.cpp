#include "service/Sockets.h"

#include <algorithm>
#include <sys/resource.h>
#include <utility>

#include "host/base/HostError.h"
#include "service/SystemdSockets.h"

namespace zrservice {
namespace {

constexpr const char *kPolicyTitle = "[service] listen", *kSocketmapTitle = "[service] socketmap",
                     *kAdminTitle = "[admin] listen";
constexpr rlim_t kDescriptorsBeside = 512;  // of the connections: databases, logs, the administration

void openMissing(std::vector<ListenSocket>& sockets, const zrhost::TextList& addresses, const char* title,
                 bool allowRemote, const zrhost::ServiceSection& service) {
  if (!sockets.empty()) return;
  for (const std::string& text : addresses)
    sockets.emplace_back(parseListenAddress(text, title, allowRemote), service);
}

}  // namespace

void requireAddresses(const zrhost::Options& options) {
  const bool allowRemote = options.service.allowRemote;
  for (const std::string& text : options.service.listen)
    parseListenAddress(text, kPolicyTitle, allowRemote);
  for (const std::string& text : options.service.socketmap)
    parseListenAddress(text, kSocketmapTitle, allowRemote);
  for (const std::string& text : options.admin.listen)
    parseListenAddress(text, kAdminTitle, false);
}

Sockets openSockets(const zrhost::Options& options) {
  Sockets sockets = takeHandedSockets();
  const zrhost::ServiceSection& service = options.service;
  openMissing(sockets.policy, service.listen, kPolicyTitle, service.allowRemote, service);
  openMissing(sockets.socketmap, service.socketmap, kSocketmapTitle, service.allowRemote, service);
  openMissing(sockets.admin, options.admin.listen, kAdminTitle, false, service);
  if (sockets.policy.empty() && sockets.socketmap.empty())
    throw zrhost::HostError(zrhost::ErrorKind::kUsage, "[service] listen and socketmap are empty: nobody could ask");
  return sockets;
}

unsigned long raiseDescriptorLimit(const zrhost::ServiceSection& settings) {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
  const rlim_t wanted = static_cast<rlim_t>(settings.maxConnections) + kDescriptorsBeside;
  if (limit.rlim_cur >= wanted) return 0;
  limit.rlim_cur = std::min(wanted, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
  return limit.rlim_cur < wanted ? static_cast<unsigned long>(limit.rlim_cur) : 0;
}

}  // namespace zrservice
