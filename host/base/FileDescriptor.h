#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace zrhost {

// The one owner of a file descriptor: closes it on every way out. A negative number stands for none, as the system's
// calls return for a failure, whose errno is left as it is.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  ~FileDescriptor() { close(); }

  int get() const { return m_descriptor; }
  explicit operator bool() const { return m_descriptor >= 0; }
  int release() { return std::exchange(m_descriptor, -1); }
  // What can be read up to the end of the file or pipe, but at most so many bytes; nothing for a failure (errno says
  // why). Interruptions do not count.
  std::optional<std::string> read(std::size_t most) const;
  // Closes it now; false when the system says that something written could not be stored (errno says why).
  bool close();

 private:
  int m_descriptor = -1;
};

}  // namespace zrhost
