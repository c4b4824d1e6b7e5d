#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

#include "host/base/FileDescriptor.h"

namespace zrhost {

// An SQLite file, held by a descriptor, so that any path will do, however odd.
//
// The file is never opened for reading here: closing a descriptor of a file gives up all locks that the process has on
// it, those of SQLite's own connections included. The descriptor kept is one that names a file and no more (O_PATH).
class SqliteFile {
 public:
  // `place` is how messages name it. Throws HostError kUnreachable unless there is a regular file that can be read.
  SqliteFile(std::string path, std::string place);

  // What the driver opens.
  std::string database() const;

  // Whether the file must be read without locks: this user may not write to its folder, so that SQLite cannot make the
  // index of a write-ahead log, and there is nothing in the log. Asked when SQLite has refused to open the file. Throws
  // HostError kUnreachable when the log, or a journal that is to be undone, holds something.
  bool mayReadUnlocked();
  // From now on database() says that nobody writes to the file, and throwIfChanged finds out whether anybody did.
  void readUnlocked();
  // Throws HostError kUnreachable when the file, read without locks, has been written to since readUnlocked.
  void throwIfChanged() const;
  // Whether the path leads to another file by now, or to none.
  bool isReplaced() const;

 private:
  struct State {
    dev_t device;
    ino_t file;
    off_t size;
    timespec written;
  };
  State state() const;
  std::string realPath() const;
  bool holds(const char* suffix) const;
  [[noreturn]] void fail(const std::string& why) const;

  std::string m_path, m_place;
  FileDescriptor m_file;
  std::optional<State> m_unlocked;
};

}  // namespace zrhost
