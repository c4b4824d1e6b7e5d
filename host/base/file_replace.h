#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>

#include "host/base/FileDescriptor.h"

namespace zrhost {

// The parts of replacing a file safely. All throw HostError kInputOutput, with the file's name and the system's reason.

// The file that a path means in the end: symbolic links are followed also where their target is missing.
std::string linkTarget(const std::string& path);

// What is known of a plain file; nothing when it is missing. Throws for anything else: a folder, a device.
std::optional<struct stat> plainFile(const std::string& path);

// Keeps other edits out of the folder of `path` while it lives; waits up to 10 s. Nothing is left in the folder.
class FolderLock {
 public:
  explicit FolderLock(const std::string& path);

  // Makes a rename in the folder last.
  void flush() const;

 private:
  std::string m_folder;
  FileDescriptor m_descriptor;
};

// A new file beside `path` that takes its place, or is gone when the object is.
class Replacement {
 public:
  // With the mode and owner of the old file; without one, with those of any new file.
  Replacement(const std::string& path, const std::optional<struct stat>& old);
  ~Replacement();
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  void write(const std::string& text);
  const std::string& path() const { return m_temporary; }
  // To the disk; what then still can fail is the rename.
  void flush();
  // To the disk, then into the place of the real file.
  void commit();

 private:
  Replacement(const std::string& path, mode_t mode);
  void takeOver(const struct stat& old);
  [[noreturn]] void fail(const std::string& what) const;

  std::string m_path;
  std::string m_temporary;  // empty while there is none
  FileDescriptor m_descriptor;
};

}  // namespace zrhost
