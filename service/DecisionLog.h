#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string_view>

#include "host/settings/Options.h"
#include "live/Answer.h"
#include "live/Question.h"
#include "live/Snapshot.h"
#include "service/PolicyRequest.h"

namespace zrservice {

// One decision, valid during the call of note() only.
struct Decision {
  const PolicyRequest& request;
  const zrlive::Question& question;
  const zrlive::Answer& answer;
  const zrlive::Snapshot* snapshot;  // null without one
  std::string_view action;           // what was answered, or would have been
  std::chrono::nanoseconds taken;
};

// Writes decisions about requests of the policy protocol as one JSON object a line: time, instance, queue_id,
// protocol_state, questions (the groups of the users among them), revision (null where no policies were asked),
// results, action, microseconds. Lookups of the socketmap protocol belong to no mail, and are not logged.
//
// Writing never delays an answer: decisions wait in a queue of a bounded size for a thread of the log's own, which
// makes lines of them, and what finds it full is dropped and counted.
//
// Threads: note, reopen and the counts by any number at once.
class DecisionLog {
 public:
  // Null when the settings want none. Throws HostError kInputOutput for a file that cannot be opened (a pipe that
  // nobody reads is one), or a key file that cannot be read; kUsage for redaction without a key, or of what cannot be
  // redacted.
  static std::unique_ptr<DecisionLog> open(const zrhost::ServiceSection& settings);
  // Throws as open() does, for the settings alone; nothing is opened to be written.
  static void requireSettings(const zrhost::ServiceSection& settings);
  // Writes what waits. A disk that hangs is waited for three seconds; what it has not taken by then is lost.
  ~DecisionLog();
  DecisionLog(const DecisionLog&) = delete;
  DecisionLog& operator=(const DecisionLog&) = delete;

  void note(const Decision& decision) noexcept;
  // Has the log's thread open the file of that name anew. Until that works the old one is written to.
  void reopen();

  std::uint64_t written() const;
  std::uint64_t dropped() const;

 private:
  class Parts;

  explicit DecisionLog(const zrhost::ServiceSection& settings);

  std::shared_ptr<Parts> m_parts;  // the thread's too, which a disk may keep longer than the log
};

}  // namespace zrservice
