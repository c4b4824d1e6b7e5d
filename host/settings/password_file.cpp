#include "host/settings/password_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr std::size_t kLongestPassword = 4096;

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
  throw HostError(ErrorKind::kUsage, "password file " + shortened(path) + ": " + reason);
}

// Who may see the password is decided by the file's owner. Another user than this one and root could have left the file
// for a group of his own choice, so his word on the group does not count.
void requirePrivate(const FileDescriptor& file, const std::string& path) {
  struct stat status = {};
  if (!file || fstat(file.get(), &status) != 0) {
    refuse(path, std::string(std::strerror(errno)) + "; name a readable file");
  }
  if (S_ISDIR(status.st_mode)) refuse(path, "is a folder; name a file");
  if ((status.st_mode & S_IRWXO) != 0) refuse(path, "others may read or write it; chmod it to 600, or 640 for a group");
  if ((status.st_mode & S_IWGRP) != 0) refuse(path, "its group may write it; chmod it to 600, or 640 for a group");
  const bool ownersWordCounts = status.st_uid == geteuid() || status.st_uid == 0;
  if ((status.st_mode & S_IRWXG) != 0 && !ownersWordCounts) {
    refuse(path, "its group may read it, and its owner is neither you nor root; chmod it to 600");
  }
}

// Files and pipes alike, up to two bytes more than a password may have: a line's end may follow.
std::string readStart(const FileDescriptor& file, const std::string& path) {
  std::string text(kLongestPassword + 2, '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const ssize_t count = read(file.get(), text.data() + size, text.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) refuse(path, std::strerror(errno));
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  text.resize(size);
  return text;
}

}  // namespace

std::string readPasswordFile(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  requirePrivate(file, path);
  std::string password = readStart(file, path);
  password.erase(std::min(password.find('\n'), password.size()));
  if (password.ends_with('\r')) password.pop_back();
  if (password.size() > kLongestPassword) refuse(path, "its first line is no password, it is too long");
  if (password.find('\0') != std::string::npos) refuse(path, "its first line is no password, it holds a zero byte");
  return password;
}

std::string passwordFrom(const std::string& path) {
  if (!path.empty()) return readPasswordFile(path);
  const char* variable = std::getenv(kPasswordVariable);
  return variable == nullptr ? "" : variable;
}

}  // namespace zrhost
