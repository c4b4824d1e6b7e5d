#pragma once

#include <functional>
#include <string_view>

#include "host/explain/Explanation.h"

namespace zrhost {

// Writes an explanation as one JSON document on one line (RFC 8259, without a line end), in pieces:
//
//   {"questions": [{"type", "key", "searched", "links": [{"link_id", "policy_id", "priority", "entity_name",
//     "outcome"}, ...]}, ...], "results": [...], "policy": {"policy_id", "in_answer", "reason", "near": [{"link_id",
//     "entity_type", "entity_name", "priority", "difference"}, ...]}}
//
// "results" is that of answerJson; "policy" is there when one was asked for. "type" is the name of an entity type,
// "searched" a text (of an address its number in decimal), "outcome" "counts", "no_selected_rule" or
// "already_in_answer". "link_id" is null for the default policy. Bytes that are no UTF-8 become U+FFFD.
void writeExplanationJson(const Explanation& explanation, const std::function<void(std::string_view)>& write);

}  // namespace zrhost
