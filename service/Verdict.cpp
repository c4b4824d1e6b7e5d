#include "service/Verdict.h"

#include <string>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrservice {
namespace {

constexpr std::size_t kMostActionBytes = 900;

}  // namespace

bool canBeSent(std::string_view action) {
  bool isBlank = true, isOneLine = true;
  for (const char c : action.substr(0, kMostActionBytes)) {
    isBlank &= c == ' ' || c == ',' || (c >= '\t' && c <= '\r');
    isOneLine &= c != '\n' && c != '\r' && c != '\0';
  }
  return action.size() <= kMostActionBytes && !isBlank && isOneLine;
}

Verdict verdictWithout(zrlive::LiveState state, const zrhost::ServiceSection& settings) {
  const bool isStale = state == zrlive::LiveState::kStale;
  const bool hasOwn = isStale && !settings.staleAction.empty();
  return {isStale ? Verdict::Reason::kStale : Verdict::Reason::kUnavailable,
          hasOwn ? settings.staleAction : settings.unavailableAction};
}

Verdict verdictFor(const zrlive::Answer& answer, const zrhost::ServiceSection& settings) {
  if (answer.empty()) return {Verdict::Reason::kNoMatch, settings.noMatchAction};
  const std::string_view action = answer[0].action;
  if (!canBeSent(action)) return {Verdict::Reason::kFault, settings.faultAction};
  return {Verdict::Reason::kResult, action};
}

void requireActions(const zrhost::ServiceSection& settings) {
  const std::pair<const char*, const std::string&> actions[] = {{"no_match_action", settings.noMatchAction},
                                                                {"unavailable_action", settings.unavailableAction},
                                                                {"stale_action", settings.staleAction},
                                                                {"fault_action", settings.faultAction}};
  for (const auto& [name, action] : actions) {
    const bool isLeftOut = action.empty() && name == std::string_view("stale_action");
    if (isLeftOut || canBeSent(action)) continue;
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            "[service] " + std::string(name) + " = \"" + zrhost::shortened(action) +
                                "\": an action that is empty, longer than 900 bytes, or holds a line break cannot be "
                                "sent");
  }
}

}  // namespace zrservice
