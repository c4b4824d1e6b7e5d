#pragma once

#include <string>
#include <string_view>

#include "host/settings/Settings.h"

namespace zrcli {

// Every setting, or those of one section, as an aligned table with where each value comes from, headed by the name of
// the file that was read. Texts are made safe for a terminal. That ZRPOLICY_PASSWORD holds a password is said; the
// password is not.
std::string settingsTable(const zrhost::Settings& settings, std::string_view section);

// Whether something of this name is likely to be a password.
bool holdsSecret(std::string_view name);

}  // namespace zrcli
