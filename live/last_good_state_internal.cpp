#include "live/last_good_state_internal.h"

#include <nlohmann/json.hpp>

#include "live/row_sum_internal.h"

namespace zrlive {
namespace {

using nlohmann::json;

constexpr const char* kStates = "last_good";
constexpr const char* kSeal = "checksum";

// Bytes that are no UTF-8 become others; such an epoch is then that of no database, and nothing worse happens.
std::string dumped(const json& value, int indent = -1) {
  return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

json valuesOf(const LastGoodState& state) {
  const SnapshotCounts& counts = state.counts;
  return {{"epoch", state.epoch},
          {"revision", state.revision},
          {"confirmed_ms",
           std::chrono::duration_cast<std::chrono::milliseconds>(state.confirmed.time_since_epoch()).count()},
          {"rows", state.rows},
          {"policies", counts.policies},
          {"rules", counts.rules},
          {"links_by_type", counts.linksByType},
          {"members", counts.members},
          {"refused_rows", counts.refusedRows},
          {"default_policy", counts.hasDefaultPolicy}};
}

LastGoodState stateOf(const json& values) {
  LastGoodState state;
  state.epoch = values.at("epoch").get<std::string>();
  state.revision = values.at("revision").get<std::int64_t>();
  state.confirmed =
      std::chrono::system_clock::time_point(std::chrono::milliseconds(values.at("confirmed_ms").get<std::int64_t>()));
  state.rows = values.at("rows").get<std::string>();
  state.counts.policies = values.at("policies").get<std::uint64_t>();
  state.counts.rules = values.at("rules").get<std::uint64_t>();
  state.counts.linksByType = values.at("links_by_type").get<decltype(state.counts.linksByType)>();
  state.counts.members = values.at("members").get<std::uint64_t>();
  state.counts.refusedRows = values.at("refused_rows").get<std::uint64_t>();
  state.counts.hasDefaultPolicy = values.at("default_policy").get<bool>();
  return state;
}

}  // namespace

std::vector<LastGoodState> parseStates(const std::string& text) {
  std::vector<LastGoodState> states;
  try {
    const json said = json::parse(text);
    for (json values : said.at(kStates)) {
      const std::string seal = values.at(kSeal).get<std::string>();
      values.erase(kSeal);
      if (seal == sumOf(dumped(values))) states.push_back(stateOf(values));
    }
  } catch (const json::exception&) {  // what was read before is whole
  }
  return states;
}

std::string textOf(const std::vector<LastGoodState>& states) {
  json list = json::array();
  for (const LastGoodState& state : states) {
    json values = valuesOf(state);
    values[kSeal] = sumOf(dumped(values));
    list.push_back(std::move(values));
  }
  return dumped({{kStates, std::move(list)}}, 2) + "\n";
}

}  // namespace zrlive
