#pragma once

#include <string>
#include <string_view>

#include "host/settings/Settings.h"

namespace zrcli {

// Every setting, or those of one section, as an aligned table with where each value comes from, headed by the name of
// the file that was read. Texts are made safe for a terminal. Where ZRPOLICY_PASSWORD counts, that is said; the
// password is not. Throws HostError kUsage for an unknown section.
std::string settingsTable(const zrhost::Settings& settings, std::string_view section);

}  // namespace zrcli
