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
//
//   GET  /status         how the service stands, as JSON
//   GET  /health/live    200 while the process runs
//   GET  /health/ready   200 while answers are those of policies that are not too old; 503 with the reason
//   GET  /metrics        OpenMetrics text
//   POST /reload         loads the policies anew, with ?accept=true whatever they are: 200 {"result": "loaded"}, 202
//                        "pending" when it goes on after eight seconds, 409 "held_back" and 503 "failed" with a reason
//   POST /ask            a question, its answer and why; 400 for what is no question, 503 while there are no policies
//
// Everything else is refused with a JSON document {"error": TEXT}: 403 for what a page in a browser could have sent (an
// Origin, or a Host that is not this machine's), 404, 405, 411 without a length, 413 beyond 64 KiB, 415 for what is
// packed, or a form of several parts.
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
