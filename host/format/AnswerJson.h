#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/ask/Answer.h"

namespace zrhost {

// The answer as one JSON document on one line (RFC 8259, without a line end):
//
//   {"generation": G, "revision": R, "results": [{"priority", "policy_id", "policy_type", "policy_name", "entity_type",
//     "entity_name", "rule": {"id", "name", "type", "ldap_setting", "action"}}, ...]}
//
// `generation` is that of the cache that answered, `revision` that of the database it was loaded from. "entity_type" is
// the name of the entity type ("USER"), "ldap_setting" true or false. Bytes that are no UTF-8 become U+FFFD.
std::string answerJson(const Answer& answer, std::uint32_t generation, std::int64_t revision);

// The list of "results" alone.
std::string resultsJson(const Answer& answer);

// What stands for an answer when the question of line `line` was none: {"error": TEXT, "line": N}.
std::string errorJson(std::string_view text, std::uint64_t line);

}  // namespace zrhost
