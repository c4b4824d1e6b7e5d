#pragma once

#include <signal.h>
#include <string>

namespace zrhost {

// A new, empty file beside `path`, in which a database is made before it gets that name, so that nobody ever opens one
// that is half made, and none that another process made is touched. The destructor removes it, unless it was published.
// While the object lives, the signals that end a process by a user's will wait, so that nothing is left behind; only a
// process that is killed leaves the file ".zrpolicy-init-..." behind.
//
// Throws HostError kUnreachable, which names `path`, when the file cannot be made or renamed, and kTablesPresent when
// a journal of an earlier database would become that of the new one.
class NewFile {
 public:
  explicit NewFile(const std::string& path);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  const std::string& temporaryPath() const { return m_temporary; }
  // Gives the file its name; false when there is a file of that name now. No connection may have it open.
  bool publish();

 private:
  [[noreturn]] void fail() const;

  std::string m_path;
  std::string m_folder;
  std::string m_temporary;
  sigset_t m_oldSignals;
};

}  // namespace zrhost
