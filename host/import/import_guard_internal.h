#pragma once

#include "host/database/PolicyWriter.h"

namespace zrhost {

// Refuses, as HostError kLoss with the figures, what takes away more than a fifth of the links that were there, or
// leaves no default policy where there was one.
void refuseLoss(const ContentCounts& before, const ContentCounts& after, const Changes& changes);

}  // namespace zrhost
