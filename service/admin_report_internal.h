#pragma once

#include <string>

#include "live/LivePolicies.h"
#include "service/DecisionLog.h"
#include "service/Server.h"

namespace zrservice {

// What a running service tells of itself. All is read at one moment; the log may be null.
struct AdminReport {
  AdminReport(const zrlive::LivePolicies& policies, const Server& server, const DecisionLog* log);

  // One JSON document, for GET /status.
  std::string statusJson() const;
  // OpenMetrics text, for GET /metrics.
  std::string metrics() const;
  // Why the service does not answer by its policies; empty when it does.
  std::string whyNotReady() const;

  zrlive::LiveStatus status;
  Totals totals;
  std::size_t open;
  std::uint64_t written = 0, dropped = 0;
};

}  // namespace zrservice
