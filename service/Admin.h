#pragma once

#include <memory>
#include <vector>

#include "live/LivePolicies.h"
#include "service/DecisionLog.h"
#include "service/Desk.h"
#include "service/ListenSocket.h"
#include "service/Server.h"

namespace zrservice {

// The administration of a running service: HTTP/1.1 on sockets of its own, each served by threads of its own, so that
// it never delays an answer.
class Admin {
 public:
  // All must outlive it; the log may be null.
  Admin(zrlive::LivePolicies& policies, const Desk& desk, const Server& server, const DecisionLog* log);
  ~Admin();
  Admin(const Admin&) = delete;
  Admin& operator=(const Admin&) = delete;

  void listen(ListenSocket socket);
  void start();
  // Takes its Unix sockets' files away; who is connected is served on.
  void close();
  // Waits for the requests that are under way.
  void stop();

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrservice
