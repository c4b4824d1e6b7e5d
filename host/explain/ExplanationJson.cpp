#include "host/explain/ExplanationJson.h"

#include <nlohmann/json.hpp>
#include <string>

#include "host/format/AnswerJson.h"
#include "host/load/SqlLink.h"

namespace zrhost {

namespace {

using Json = nlohmann::ordered_json;  // keeps the members in the order written here
using Write = std::function<void(std::string_view)>;

std::string textOf(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json idOf(const ZrEPLink& link) {
  const auto id = linkIdOf(link);
  return id ? Json(*id) : Json(nullptr);
}

const char* nameOf(LinkOutcome outcome) {
  switch (outcome) {
    case LinkOutcome::kCounts:
      return "counts";
    case LinkOutcome::kNoSelectedRule:
      return "no_selected_rule";
    case LinkOutcome::kAlreadyInAnswer:
      return "already_in_answer";
  }
  return "?";
}

Json jsonOf(const MetLink& met) {
  return {{"link_id", idOf(*met.link)},
          {"policy_id", met.link->m_policyId},
          {"priority", met.link->m_priority},
          {"entity_name", met.link->m_entityName},
          {"outcome", nameOf(met.outcome)}};
}

Json jsonOf(const NearLink& near) {
  return {{"link_id", idOf(*near.link)},
          {"entity_type", entityTypeName(near.link->m_entityType)},
          {"entity_name", near.link->m_entityName},
          {"priority", near.link->m_priority},
          {"difference", near.difference}};
}

Json jsonOf(const PolicyExplanation& policy) {
  Json near = Json::array();
  for (const NearLink& link : policy.near)
    near.push_back(jsonOf(link));
  return {{"policy_id", policy.policyId},
          {"in_answer", policy.inAnswer},
          {"reason", policy.reason},
          {"near", std::move(near)}};
}

// Link by link: "all" may meet a million of them.
void writeSearch(const ExplainedSearch& search, const Write& write) {
  write("{\"type\":" + textOf(entityTypeName(search.type)) + ",\"key\":" + textOf(search.key) +
        ",\"searched\":" + textOf(search.searched) + ",\"links\":[");
  bool isFirst = true;
  for (const MetLink& met : search.links) {
    write((isFirst ? "" : ",") + textOf(jsonOf(met)));
    isFirst = false;
  }
  write("]}");
}

}  // namespace

void writeExplanationJson(const Explanation& explanation, const Write& write) {
  write("{\"questions\":[");
  bool isFirst = true;
  for (const ExplainedSearch& search : explanation.searches) {
    if (!isFirst) write(",");
    writeSearch(search, write);
    isFirst = false;
  }
  write("],\"results\":" + resultsJson(explanation.results));
  if (explanation.policy) write(",\"policy\":" + textOf(jsonOf(*explanation.policy)));
  write("}");
}

}  // namespace zrhost
