#pragma once

#include "host/rows/RowSink.h"

namespace zrhost {

// Where rows come from: a policy database, a file of policies, anything that has one whole state to give.
class RowSource {
 public:
  virtual ~RowSource() = default;

  // Pushes every row of one state into `sink`, in the order that RowSink promises, and answers that state's revision.
  // Throws HostError, and what the sink throws.
  virtual Revision read(RowSink& sink) = 0;
};

}  // namespace zrhost
