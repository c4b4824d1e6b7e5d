#pragma once

#include "host/load/Snapshot.h"
#include "host/rows/RowSource.h"

namespace zrlive {

// The rows that make a snapshot like this one, which answers every question as this one does. What a snapshot does not
// keep is numbered anew: the positions of rules and the IDs of links, in the order that they have.
class SnapshotRows : public zrhost::RowSource {
 public:
  explicit SnapshotRows(const zrhost::Snapshot& snapshot) : m_snapshot(snapshot) {}
  // The links do not come in the order that RowSink promises, but have IDs that put them into it.
  zrhost::Revision read(zrhost::RowSink& sink) override;

 private:
  void readPolicies(zrhost::RowSink& sink) const;
  void readRules(zrhost::RowSink& sink) const;
  void readLinks(zrhost::RowSink& sink) const;
  void readMembers(zrhost::RowSink& sink) const;

  const zrhost::Snapshot& m_snapshot;
};

}  // namespace zrlive
