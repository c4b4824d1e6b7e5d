#include "host/format/AnswerTable.h"

#include "host/format/TextTable.h"

namespace zrhost {

namespace {

constexpr bool kIsNumber = true;
constexpr bool kMayBeCut = true;

}  // namespace

std::string answerTable(const Answer& answer, std::size_t width) {
  if (answer.empty()) return "no policy applies\n";
  TextTable table({{"PRIORITY", kIsNumber},
                   {"POLICY ID", kIsNumber},
                   {"TYPE", kIsNumber},
                   {"NAME", !kIsNumber, kMayBeCut},
                   {"ENTITY TYPE"},
                   {"ENTITY", !kIsNumber, kMayBeCut},
                   {"RULE", !kIsNumber, kMayBeCut},
                   {"ACTION", !kIsNumber, kMayBeCut}});
  for (const AnswerResult& result : answer) {
    table.add({std::to_string(result.priority), std::to_string(result.policyId), std::to_string(result.policyType),
               result.policyName, entityTypeName(result.entityType), result.entityName, result.rule.name,
               result.rule.action});
  }
  return table.text(width);
}

}  // namespace zrhost
