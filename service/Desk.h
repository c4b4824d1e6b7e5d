#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "host/settings/Options.h"
#include "live/LivePolicies.h"
#include "service/QuestionRules.h"

namespace zrservice {

class DecisionLog;

// The settings that a running service can change, in one piece.
struct Rules {
  explicit Rules(const zrhost::Options& options) : service(options.service), questions(options.questions) {}

  zrhost::ServiceSection service;
  QuestionRules questions;
};

// What all threads that answer share.
//
// Threads: any number at once.
class Desk {
 public:
  // The policies must outlive the desk; the log may be null.
  Desk(const zrlive::LivePolicies& policies, std::shared_ptr<const Rules> rules, DecisionLog* log)
      : m_policies(policies), m_log(log), m_rules(std::move(rules)) {}

  const zrlive::LivePolicies& policies() const { return m_policies; }
  DecisionLog* log() const { return m_log; }
  std::shared_ptr<const Rules> rules() const {
    const std::lock_guard lock(m_mutex);
    return m_rules;
  }
  // Rises with each change of the rules, so that a thread need not take the lock for each request.
  std::uint64_t change() const { return m_change.load(std::memory_order_acquire); }
  void setRules(std::shared_ptr<const Rules> rules) {
    const std::lock_guard lock(m_mutex);
    m_rules = std::move(rules);
    m_change.fetch_add(1, std::memory_order_release);
  }

 private:
  const zrlive::LivePolicies& m_policies;
  DecisionLog* m_log;
  mutable std::mutex m_mutex;
  std::shared_ptr<const Rules> m_rules;
  std::atomic<std::uint64_t> m_change{1};
};

}  // namespace zrservice
