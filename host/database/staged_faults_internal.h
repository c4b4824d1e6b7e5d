#pragma once

#include <functional>

#include "host/database/PolicyWriter.h"
#include "host/database/staging_internal.h"

namespace zrhost {

// Finds the faulty ones of the rows that were staged, tells of each once in the order of their numbers, and takes them
// out of the staged ones (PolicyWriter::rejectFaults).
void rejectStagedFaults(Session& session, WriteMode mode, const std::function<void(const StagedFault&)>& onFault);

}  // namespace zrhost
