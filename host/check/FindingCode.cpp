#include "host/check/FindingCode.h"

#include <algorithm>

namespace zrhost {
namespace {

constexpr std::array<const char*, 3> kSeverityNames = {"error", "warning", "note"};

using Code = FindingCode;
constexpr Severity kError = Severity::kError;
constexpr Severity kWarning = Severity::kWarning;
constexpr Severity kNote = Severity::kNote;

}  // namespace

const std::array<FindingKind, 21> kFindingKinds = {{
    {Code::kCapitalName, "capital-name", kError, "a name with a capital letter, which no question finds"},
    {Code::kBlankName, "blank-name", kError, "a name that is empty or has blanks at its ends"},
    {Code::kUndecodedEntity, "undecoded-entity", kError, "an HTML entity that leaves the whole name undecoded"},
    {Code::kOtherCharacter, "other-character", kWarning, "an HTML entity that becomes another character"},
    {Code::kReversedRange, "reversed-range", kError, "a range whose first address is above its last"},
    {Code::kHalfRange, "half-range", kError, "a range with only one address"},
    {Code::kBadAddress, "bad-address", kError, "an address that loading refuses"},
    {Code::kOddAddress, "odd-address", kWarning, "an address that is read otherwise than it looks"},
    {Code::kSecondAddress, "second-address", kWarning, "a single address with a second one, which is ignored"},
    {Code::kUnknownPolicy, "unknown-policy", kError, "a rule or a link of a policy that is not there"},
    {Code::kUnknownType, "unknown-type", kError, "a link of an entity type that is none"},
    {Code::kBadRow, "bad-row", kError, "a row that loading or the tables refuse for another reason"},
    {Code::kNoSelectedRule, "no-selected-rule", kWarning,
     "a policy without a rule of kind 247: none of its links counts"},
    {Code::kDuplicateLink, "duplicate-link", kWarning, "a second link of one entity to one policy"},
    {Code::kEqualPriority, "equal-priority", kNote, "different policies of equal priority for one entity or address"},
    {Code::kCoveredRange, "covered-range", kNote, "a range inside another of the same policy that comes first"},
    {Code::kSeveralDefaults, "several-defaults", kWarning, "a default policy that another one displaces"},
    {Code::kNoDefault, "no-default", kNote, "no policy is the default"},
    {Code::kBadAction, "bad-action", kError, "an action that a Postfix policy reply cannot carry"},
    {Code::kUnusedPolicy, "unused-policy", kNote, "a policy without a link that is no default"},
    {Code::kUnusedGroup, "unused-group", kNote, "a group with members and without a link"},
}};

const char* severityName(Severity severity) {
  return kSeverityNames[static_cast<std::size_t>(severity)];
}

std::optional<Severity> findSeverity(std::string_view name) {
  const auto* found = std::find(kSeverityNames.begin(), kSeverityNames.end(), name);
  if (found == kSeverityNames.end()) return std::nullopt;
  return static_cast<Severity>(found - kSeverityNames.begin());
}

const FindingKind* findFindingKind(std::string_view name) {
  const auto* found = std::find_if(kFindingKinds.begin(), kFindingKinds.end(),
                                   [name](const FindingKind& kind) { return kind.name == name; });
  return found == kFindingKinds.end() ? nullptr : found;
}

}  // namespace zrhost
