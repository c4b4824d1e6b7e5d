#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "host/host_test_support.h"
#include "live/LivePolicies.h"

namespace zrtest {

using zrlive::LiveOptions;
using zrlive::LivePolicies;
using zrlive::LiveSource;
using zrlive::LiveState;

// Short times, so that what is waited for comes soon.
LiveOptions quick(const zrhost::DatabaseOptions& database, const std::string& stateFolder = {});

// Whether a condition comes true; a minute is waited for it.
bool comesTrue(const std::function<bool()>& condition);

// The lines that an object logs.
class LiveLog {
 public:
  void attachTo(LiveOptions& options);
  bool has(const std::string& part) const;
  std::string text() const;

 private:
  mutable std::mutex m_mutex;
  std::string m_text;
};

// The action that comes first for a user and the default, or "none"; "-" while there is no snapshot.
std::string actionFor(const LivePolicies& policies, const std::string& user);

// SQL that makes one policy with an action, linked to a user; changes the action of a policy.
std::string addPolicy(int id, const std::string& user, const std::string& action);
std::string setAction(int id, const std::string& action);

class LiveTest : public EveryDatabase {
 protected:
  LiveTest() { init(true); }
};

}  // namespace zrtest
