#include "host/import/import_guard_internal.h"

#include <string>

namespace zrhost {
namespace {

constexpr std::uint64_t kMostOfLinks = 5;  // one of so many

std::string lostLinks(const ContentCounts& before, const Changes& changes) {
  const std::uint64_t removed = changes[static_cast<std::size_t>(PolicyTable::kLink)].removed;
  if (removed <= before.links / kMostOfLinks) return {};
  return "would take away " + std::to_string(removed) + " of " + std::to_string(before.links) +
         " links, more than a fifth";
}

std::string lostDefault(const ContentCounts& before, const ContentCounts& after) {
  if (before.defaultPolicies == 0 || after.defaultPolicies != 0) return {};
  return "would leave no policy with is_default 1 where there is " +
         (before.defaultPolicies == 1 ? "one" : std::to_string(before.defaultPolicies));
}

}  // namespace

void refuseLoss(const ContentCounts& before, const ContentCounts& after, const Changes& changes) {
  const std::string links = lostLinks(before, changes), theDefault = lostDefault(before, after);
  if (links.empty() && theDefault.empty()) return;
  throw HostError(ErrorKind::kLoss, "refused, and nothing was changed: it " + links +
                                        (links.empty() || theDefault.empty() ? "" : ", and ") + theDefault +
                                        "; give --allow-drop if that is meant");
}

}  // namespace zrhost
