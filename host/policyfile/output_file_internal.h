#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/base/FileDescriptor.h"
#include "host/base/file_replace.h"

namespace zrhost {

// A file that is written anew: beside the old one and renamed, so that at any moment the old or the new one is there.
// A device or a pipe is written to as it is. Buffered. Throws HostError kInputOutput.
class OutputFile {
 public:
  using Write = std::function<void(std::string_view)>;

  explicit OutputFile(const std::string& path);
  // Hands everything to `write` instead.
  explicit OutputFile(Write write) : m_write(std::move(write)) {}

  void write(std::string_view text);
  // Everything to the disk: after that only the rename can fail.
  void flush();
  // Into the place of the old file, for good. Without it nothing was changed.
  void commit();
  // The middle part of commit(), for one who holds the FolderLock of several files.
  void rename();

 private:
  void handOver();

  Write m_write;
  std::optional<Replacement> m_replacement;  // of a plain file
  std::string m_path;
  std::string m_buffer;
};

}  // namespace zrhost
