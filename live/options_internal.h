#pragma once

#include <string>

#include "host/base/DatabaseOptions.h"
#include "live/LiveOptions.h"

namespace zrlive {

// The options with what they leave out filled in. Throws LiveError as the constructor of LivePolicies does.
LiveOptions checkedOptions(LiveOptions options);

// The database of checked options.
zrhost::DatabaseOptions databaseOf(const LiveOptions& options);

// "no answer from ... for 60 s"
std::string silenceText(const LiveOptions& options);

}  // namespace zrlive
