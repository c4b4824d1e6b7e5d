#pragma once

#include <vector>

#include "host/ask/Search.h"
#include "host/load/Snapshot.h"

namespace zrhost {

using Links = std::vector<const ZrEPLink*>;

// The links whose key a search was for, in the order in which the cache's lookup visits them, whether they count or
// not.
Links linksOfKey(const ZrPolicyCache& cache, ZrPolicyCache::EntityType type, const char* key);
Links rangesOf(const ZrPolicyCache& cache, const char* address);

// Every link of one of the types USER, GROUP, HOSTNAME and OTHER, in the order of their keys.
Links allOf(const ZrPolicyCache& cache, ZrPolicyCache::EntityType type);

// Every link of one policy, the default link included: by type, in the order of their containers.
Links linksOfPolicy(const ZrPolicyCache& cache, const ZrPolicy& policy);

}  // namespace zrhost
