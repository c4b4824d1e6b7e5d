#include "host/configfile/file_replace.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

constexpr int kMostLinks = 40;      // as many as the system follows
constexpr int kLockAttempts = 200;  // 10 s
constexpr auto kLockPause = std::chrono::milliseconds(50);

[[noreturn]] void failWith(const std::string& what, const std::string& path, const std::string& why) {
  throw HostError(ErrorKind::kInputOutput, what + " " + terminalText(path) + ": " + why);
}

std::string folderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

}  // namespace

std::string linkTarget(const std::string& path) {
  std::filesystem::path file(path);
  for (int links = 0; links < kMostLinks; ++links) {
    std::error_code ignored;  // what is wrong with the path shows when it is opened
    if (!std::filesystem::is_symlink(file, ignored)) return file.string();
    const std::filesystem::path target = std::filesystem::read_symlink(file, ignored);
    file = file.parent_path() / target;  // an absolute target replaces the folder
  }
  failWith("cannot follow", path, std::strerror(ELOOP));
}

std::optional<struct stat> plainFile(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return std::nullopt;
    failWith("cannot read", path, std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) failWith("cannot edit", path, "it is a folder");
  if (!S_ISREG(status.st_mode)) failWith("cannot edit", path, "it is no plain file");
  return status;
}

FolderLock::FolderLock(const std::string& path)
    : m_folder(folderOf(path)), m_fd(open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (m_fd < 0) failWith("cannot open the folder", m_folder, std::strerror(errno));
  for (int attempt = 1; flock(m_fd, LOCK_EX | LOCK_NB) != 0; ++attempt) {
    const int fault = errno;
    if (fault == EINTR) continue;
    if (fault == EWOULDBLOCK && attempt < kLockAttempts) {
      std::this_thread::sleep_for(kLockPause);
      continue;
    }
    close(m_fd);
    failWith("cannot lock the folder", m_folder,
             fault == EWOULDBLOCK ? "somebody else holds it for 10 s" : std::strerror(fault));
  }
}

FolderLock::~FolderLock() {
  close(m_fd);
}

void FolderLock::flush() const {
  // Some file systems cannot flush a folder, and need not.
  if (fsync(m_fd) != 0 && errno != EINVAL) failWith("cannot flush the folder", m_folder, std::strerror(errno));
}

Replacement::Replacement(const std::string& path)
    : m_path(path),
      m_temporary(folderOf(path) + "/.zrpolicy-edit.XXXXXX"),
      m_fd(mkostemp(m_temporary.data(), O_CLOEXEC)) {
  if (m_fd < 0) failWith("cannot make a file beside", m_path, std::strerror(errno));
}

Replacement::~Replacement() {
  close(m_fd);
  if (!m_temporary.empty()) unlink(m_temporary.c_str());
}

void Replacement::fail(const std::string& what) const {
  const std::string why = std::strerror(errno);
  failWith(what, m_path, why + "; nothing was changed");
}

void Replacement::write(const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(m_fd, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("cannot write");
    done += static_cast<std::size_t>(count);
  }
}

void Replacement::takeOver(const std::optional<struct stat>& old) {
  mode_t mode = 0666;
  if (old) {
    struct stat own = {};
    if (fstat(m_fd, &own) != 0) fail("cannot write");
    const bool isOthers = own.st_uid != old->st_uid || own.st_gid != old->st_gid;
    if (isOthers && fchown(m_fd, old->st_uid, old->st_gid) != 0) fail("cannot keep the owner of");
    mode = old->st_mode & 07777;
  } else {
    const mode_t mask = umask(0);
    umask(mask);
    mode &= ~mask;
  }
  if (fchmod(m_fd, mode) != 0) fail("cannot keep the mode of");  // after the owner, which clears bits of it
}

void Replacement::commit() {
  if (fsync(m_fd) != 0) fail("cannot write");
  if (std::rename(m_temporary.c_str(), m_path.c_str()) != 0) fail("cannot replace");
  m_temporary.clear();
}

}  // namespace zrhost
