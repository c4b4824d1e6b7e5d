#pragma once

#include <string>

#include "host/rows/RowSource.h"

namespace zrlive {

// The rows of a last good state in an SQLite file, read by SQLite itself: at a start without a database it counts that
// a million of them are there in a second, which takes a driver several. The links come in ascending link_id, which is
// the order of the snapshot that they are from (SnapshotRows), and answers the same as the order that RowSink promises.
//
// Throws HostError kNotPolicyDatabase when the file is none, or damaged, kUnreachable when it is not there.
class KeptRows : public zrhost::RowSource {
 public:
  explicit KeptRows(std::string path) : m_path(std::move(path)) {}
  // Answers no revision: that of a last good state is said beside it.
  zrhost::Revision read(zrhost::RowSink& sink) override;

 private:
  std::string m_path;
};

}  // namespace zrlive
