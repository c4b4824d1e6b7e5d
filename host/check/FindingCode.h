#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace zrhost {

// How bad a finding is, worst first: an error is never what its writer meant, a warning seldom is, a note may well be.
enum class Severity { kError, kWarning, kNote };

// "error", "warning", "note".
const char* severityName(Severity severity);
// Nothing for any other text.
std::optional<Severity> findSeverity(std::string_view name);

// What a check can find.
enum class FindingCode {
  kCapitalName,
  kBlankName,
  kUndecodedEntity,
  kOtherCharacter,
  kReversedRange,
  kHalfRange,
  kBadAddress,
  kOddAddress,
  kSecondAddress,
  kUnknownPolicy,
  kUnknownType,
  kBadRow,
  kNoSelectedRule,
  kDuplicateLink,
  kEqualPriority,
  kCoveredRange,
  kSeveralDefaults,
  kNoDefault,
  kBadAction,
  kUnusedPolicy,
  kUnusedGroup,
};

// The name of a code is for good: sites ignore codes by it.
struct FindingKind {
  FindingCode code;
  const char* name;
  Severity severity;
  const char* found;  // what is found, at most 72 bytes
};

// Every code, in the order of the enumeration. The one table: help, reports and manual page follow it.
extern const std::array<FindingKind, 21> kFindingKinds;

inline const FindingKind& kindOf(FindingCode code) {
  return kFindingKinds[static_cast<std::size_t>(code)];
}

// The kind of that name; null when there is none.
const FindingKind* findFindingKind(std::string_view name);

}  // namespace zrhost
