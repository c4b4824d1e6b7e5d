#pragma once

#include "host/rows/Rows.h"

namespace zrhost {

// Takes the rows of one state of a policy database, one at a time.
//
// Order: the revision, then every policy in ascending policy_id, then every rule in ascending (policy_id, position),
// then every link in ascending (priority, link_id), all of them as numbers, then every member in ascending
// (group_name, user_name), as bytes; a source may have none. The order of the links is part of the
// contract: a policy cache keeps it for links of equal priority, and of several links to one policy the first one
// counts.
//
// A row is valid during the call only; a sink may move texts out of it. What an operation throws ends the reading and
// reaches whoever started it.
class RowSink {
 public:
  virtual ~RowSink() = default;
  virtual void onRevision(const Revision& revision) = 0;
  virtual void onPolicy(PolicyRow& row) = 0;
  virtual void onRule(RuleRow& row) = 0;
  virtual void onLink(LinkRow& row) = 0;
  virtual void onMember(MemberRow& row) = 0;
};

}  // namespace zrhost
