#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/check/Finding.h"
#include "host/check/link_judge_internal.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// The column of a link's name.
inline constexpr const char* kEntityName = "entity_name";

// An address as a link holds it, with the first octet most significant, so that numbers compare as addresses do.
std::uint32_t addressNumber(std::uint32_t networkOrder);

// Faults of an address or a range that the cache took: `link` is how it read `text`.
void checkAddress(const std::string& text, const ZrEPLink& link, LinkJudge& judge, std::vector<Fault>& faults);

// Why an address or a range was refused. Adds nothing when it is not refused.
void explainRefusedAddress(ZrPolicyCache::EntityType type, const std::string& text, LinkJudge& judge,
                           std::vector<Fault>& faults);

}  // namespace zrhost
