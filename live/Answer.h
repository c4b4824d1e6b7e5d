#ifndef ZR_LIVE_ANSWER_H
#define ZR_LIVE_ANSWER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "support/export.h"

namespace zrlive {

// The number is that of the table ep_link; kDefault stands for the default policy.
enum class EntityType { kDefault = 0, kUser = 1, kGroup = 2, kHost = 3, kAddress = 4, kRange = 5, kOther = 6 };

// "DEFAULT", "USER", "GROUP", "HOSTNAME", "IP", "IP_RANGE", "OTHER"; "?" for another number.
ZR_EXPORT const char* nameOf(EntityType type);

// One policy that applies, with the link that bound it and the rule that was selected. The texts are the snapshot's
// own, of any bytes.
struct Result {
  std::int32_t priority;
  std::int32_t policyId;
  std::int32_t policyType;
  EntityType entityType;
  std::string_view policyName;
  std::string_view entityName;
  std::int32_t ruleId;
  std::int32_t ruleType;
  bool ruleHasLdapSetting;
  std::string_view ruleName;
  std::string_view action;
};

// What applies, best first: ascending priority, results of equal priority in the order in which they were found.
//
// The texts point into the snapshot that was asked: they are valid as long as a lease on that one is held, and the
// answer is not asked into again. Made to be used again, for any snapshot: its memory is kept, and answers of up to 128
// results then cost an allocation a result and no other. An answer may outlive the snapshot when it is not read any
// more. Threads: one at a time.
class ZR_EXPORT Answer {
 public:
  Answer();
  ~Answer();
  Answer(Answer&& other) noexcept;
  Answer& operator=(Answer&& other) noexcept;

  bool empty() const { return m_results.empty(); }
  std::size_t size() const { return m_results.size(); }
  const Result& operator[](std::size_t index) const { return m_results[index]; }
  std::vector<Result>::const_iterator begin() const { return m_results.begin(); }
  std::vector<Result>::const_iterator end() const { return m_results.end(); }
  void clear() { m_results.clear(); }

 private:
  friend class Snapshot;
  struct Work;

  std::vector<Result> m_results;
  std::unique_ptr<Work> m_work;
};

}  // namespace zrlive

#endif  // ZR_LIVE_ANSWER_H
