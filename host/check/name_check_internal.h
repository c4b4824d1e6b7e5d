#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/check/Finding.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// A name of a row: what it names ("user"), the column that holds it and what that holds.
struct NameColumn {
  const char* what;
  const char* column;
  const std::string& text;
};

// Faults of a name that is found by `key`: the name itself, or how the cache filed it. With `capitalsCount` a capital
// letter keeps every question from finding it (host names are searched in any case).
void checkName(const NameColumn& name, std::string_view key, bool capitalsCount, std::vector<Fault>& faults);

// Faults of the HTML numeric entities in the name of a user or group, as `cache` decodes them.
void checkEntities(ZrPolicyCache& cache, const NameColumn& name, std::vector<Fault>& faults);

}  // namespace zrhost
