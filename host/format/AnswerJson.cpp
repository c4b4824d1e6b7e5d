#include "host/format/AnswerJson.h"

#include <nlohmann/json.hpp>

namespace zrhost {

namespace {

using Json = nlohmann::ordered_json;  // keeps the members in the order written here

Json jsonOf(const AnswerRule& rule) {
  return {{"id", rule.id},
          {"name", rule.name},
          {"type", rule.type},
          {"ldap_setting", rule.ldapSetting},
          {"action", rule.action}};
}

Json jsonOf(const AnswerResult& result) {
  return {{"priority", result.priority},
          {"policy_id", result.policyId},
          {"policy_type", result.policyType},
          {"policy_name", result.policyName},
          {"entity_type", entityTypeName(result.entityType)},
          {"entity_name", result.entityName},
          {"rule", jsonOf(result.rule)}};
}

Json jsonOf(const Answer& answer) {
  Json results = Json::array();
  for (const AnswerResult& result : answer)
    results.push_back(jsonOf(result));
  return results;
}

std::string textOf(const Json& document) {
  return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string answerJson(const Answer& answer, std::uint32_t generation, std::int64_t revision) {
  return textOf({{"generation", generation}, {"revision", revision}, {"results", jsonOf(answer)}});
}

std::string resultsJson(const Answer& answer) {
  return textOf(jsonOf(answer));
}

std::string errorJson(std::string_view text, std::uint64_t line) {
  return textOf({{"error", text}, {"line", line}});
}

}  // namespace zrhost
