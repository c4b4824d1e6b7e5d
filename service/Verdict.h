#pragma once

#include <cstdint>
#include <string_view>

#include "host/settings/Options.h"
#include "live/Answer.h"
#include "live/LiveStatus.h"

namespace zrservice {

// Whether a text can be sent as an action: not empty nor of blanks and commas alone, which Postfix takes for a list of
// restrictions without any and lets mail pass, at most 900 bytes, without a line break or a zero byte.
bool canBeSent(std::string_view action);

// What a policy's action and the state of the policies come to.
class Verdict {
 public:
  enum class Reason : std::uint8_t { kResult, kNoMatch, kUnavailable, kStale, kFault };

  Verdict(Reason reason, std::string_view action) : m_reason(reason), m_action(action) {}
  Reason reason() const { return m_reason; }
  // Valid as long as the settings and the snapshot are.
  std::string_view action() const { return m_action; }

 private:
  Reason m_reason;
  std::string_view m_action;
};

// The verdict while there are no policies to ask, or while they are too old.
Verdict verdictWithout(zrlive::LiveState state, const zrhost::ServiceSection& settings);

// The verdict for an answer: the action of its first result.
Verdict verdictFor(const zrlive::Answer& answer, const zrhost::ServiceSection& settings);

// Throws HostError kUsage for a setting of an action that cannot be sent.
void requireActions(const zrhost::ServiceSection& settings);

}  // namespace zrservice
