#include "host/base/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace zrhost {

std::optional<std::string> FileDescriptor::read(std::size_t most) const {
  constexpr std::size_t kBlock = 16384;
  std::string text;
  for (std::size_t size = 0; size < most; text.resize(size)) {
    text.resize(std::min(most, size + kBlock));
    const ssize_t count = ::read(m_descriptor, text.data() + size, text.size() - size);
    if (count < 0 && errno != EINTR) return std::nullopt;
    if (count > 0) size += static_cast<std::size_t>(count);
    if (count == 0) most = size;
  }
  return text;
}

bool FileDescriptor::close() {
  if (m_descriptor < 0) return true;
  // Interrupted or not, the number is free again afterwards: another try could close somebody else's file.
  return ::close(release()) == 0 || errno == EINTR;
}

}  // namespace zrhost
