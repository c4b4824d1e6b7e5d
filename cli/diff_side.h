#pragma once

#include <memory>
#include <string>

#include "cli/command_context.h"
#include "host/diff/RowDiff.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// One of the two that are compared: a policy database, a data source ("dsn:NAME") or a policy file. Which of them a
// file is, its content tells. Failures are HostError with the side's name in front: "A ('old.db'): ...".
class ComparedSide {
 public:
  // `letter` names the side. Connects, or looks whether the file is there. Throws HostError: kNoInput for a file that
  // is not there, and as PolicyDatabase does.
  ComparedSide(const char* letter, const std::string& place, const CommandContext& context);

  // Its rows; valid as long as this object is.
  zrhost::DiffSide rows();
  // All of it to ask; warns on standard error of rows that were left out.
  std::shared_ptr<const zrhost::Snapshot> load(bool strict);

 private:
  struct Sources;

  std::string m_name;
  std::shared_ptr<Sources> m_sources;
};

}  // namespace zrcli
