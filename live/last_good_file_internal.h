#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/base/FileDescriptor.h"
#include "host/load/Snapshot.h"
#include "live/last_good_state_internal.h"
#include "live/pulse_internal.h"
#include "live/row_spool_internal.h"

namespace zrlive {

// The last good state in a folder: last_good.db, a policy database with its rows, and last_good.state, what is said
// about it. A new database is written beside the old one; both states are said before it takes its place, and the new
// one alone afterwards. So the database that is there is always one that is spoken of, whenever a process is killed.
//
// Threads: one at a time. Throws HostError.
class LastGoodFile {
 public:
  // Locks the folder for the life of the object. Throws kInputOutput when it is not there, cannot be written to, or is
  // locked already.
  LastGoodFile(std::string folder, std::string sqlDirectory);

  // What the state file says now: the states that the database may be in.
  const std::vector<LastGoodState>& states() const { return m_states; }
  const std::string& folder() const { return m_folder; }
  std::string database() const { return m_folder + "/last_good.db"; }
  bool hasDatabase() const;

  // Loads the database; `state` is set to what is said about it. Throws kNotPolicyDatabase when nothing is said about
  // it, or its rows have none of the checksums. `pulse` can end it.
  std::shared_ptr<const zrhost::Snapshot> load(LastGoodState& state, Pulse& pulse);

  // Puts a new state into the place of the old one; its checksum is found out here.
  void replace(RowSpool& rows, LastGoodState state, Pulse& pulse);

  // The state has been confirmed anew.
  void confirm(std::chrono::system_clock::time_point when);

 private:
  std::string fill(const std::string& database, RowSpool& rows, Pulse& pulse) const;
  void writeStates(const std::vector<LastGoodState>& states) const;
  void removeDatabase(const std::string& path, bool withFile) const;
  void flushFolder() const;

  std::string m_folder;
  std::string m_sqlDirectory;
  zrhost::FileDescriptor m_lock;
  std::vector<LastGoodState> m_states;
};

}  // namespace zrlive
