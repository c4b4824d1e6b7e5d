#pragma once

#include <string>
#include <vector>

#include "host/check/Finding.h"

namespace zrhost {

// Why the reply of a policy server to Postfix cannot carry an action. With `postfix` it must also be an action that
// Postfix knows: one of access(5), a reply code, or a restriction by its name. At most one fault.
void checkAction(const std::string& action, bool postfix, std::vector<Fault>& faults);

}  // namespace zrhost
