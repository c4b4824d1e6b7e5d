#pragma once

#include <string_view>

#include "host/policyfile/row_stream_internal.h"

namespace zrhost {

// Where and why a line that could not be parsed is no JSON. The fast parser does not say it; this one is slower.
LineFault jsonFault(std::string_view line);

}  // namespace zrhost
