#include "host/base/anonymous_file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

FileDescriptor anonymousFile() {
  const char* const named = std::getenv("TMPDIR");
  const std::string folder = named != nullptr && *named != '\0' ? named : "/tmp";
  FileDescriptor file(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (file) return file;
  std::string path = folder + "/zrpolicy-XXXXXX";  // where the file system knows no files without a name
  file = FileDescriptor(mkostemp(path.data(), O_CLOEXEC));
  if (!file) {
    throw HostError(ErrorKind::kInputOutput, "cannot make a temporary file in " + terminalText(folder) + ": " +
                                                 std::strerror(errno) + "; have TMPDIR name another folder");
  }
  unlink(path.c_str());
  return file;
}

void writeAll(const FileDescriptor& file, const char* bytes, std::size_t size, const std::string& what) {
  while (size > 0) {
    const ssize_t count = write(file.get(), bytes, size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw HostError(ErrorKind::kInputOutput, "cannot write " + what + ": " + std::strerror(errno));
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
}

}  // namespace zrhost
