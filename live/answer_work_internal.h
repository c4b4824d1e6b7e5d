#pragma once

#include <vector>

#include "host/load/GroupMembers.h"
#include "live/Answer.h"
#include "live/quick_asking_internal.h"
#include "policy/ZrPolicyResultSet.h"

namespace zrlive {

// What answering needs, kept from one question to the next. The set is bound to a snapshot only while that is asked.
struct Answer::Work {
  ZrPolicyResultSet results;
  std::vector<zrhost::GroupMembers::Group> groups;
  QuickAsking quick;
};

}  // namespace zrlive
