#include "host/base/FileDescriptor.h"

#include <cerrno>
#include <unistd.h>

namespace zrhost {

bool FileDescriptor::close() {
  if (m_descriptor < 0) return true;
  // Interrupted or not, the number is free again afterwards: another try could close somebody else's file.
  return ::close(release()) == 0 || errno == EINTR;
}

}  // namespace zrhost
