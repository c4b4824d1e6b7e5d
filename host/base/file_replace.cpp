#include "host/base/file_replace.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
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
    : m_folder(folderOf(path)), m_descriptor(open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!m_descriptor) failWith("cannot open the folder", m_folder, std::strerror(errno));
  for (int attempt = 1; flock(m_descriptor.get(), LOCK_EX | LOCK_NB) != 0; ++attempt) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) failWith("cannot lock the folder", m_folder, std::strerror(errno));
    if (attempt == kLockAttempts) failWith("cannot lock the folder", m_folder, "somebody else holds it for 10 s");
    std::this_thread::sleep_for(kLockPause);
  }
}

void FolderLock::flush() const {
  // Some file systems cannot flush a folder, and need not.
  if (fsync(m_descriptor.get()) != 0 && errno != EINVAL) {
    failWith("cannot flush the folder", m_folder, std::strerror(errno));
  }
}

Replacement::Replacement(const std::string& path, const std::optional<struct stat>& old)
    : Replacement(path, old ? 0600 : 0666) {  // from here on the destructor removes what was made
  if (old) takeOver(*old);
}

Replacement::~Replacement() {
  if (!m_temporary.empty()) unlink(m_temporary.c_str());
}

// The system takes the process's mask (or what the folder says of new files) from the mode, so that nobody need ask for
// the mask: the only call for it sets another one for all threads.
Replacement::Replacement(const std::string& path, mode_t mode) : m_path(path) {
  std::random_device random;
  do {
    std::array<char, 16> suffix{};
    std::snprintf(suffix.data(), suffix.size(), "%08x", random());
    m_temporary = folderOf(m_path) + "/.zrpolicy-edit." + suffix.data();
    m_descriptor = FileDescriptor(open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  } while (!m_descriptor && errno == EEXIST);
  if (m_descriptor) return;
  m_temporary.clear();
  failWith("cannot make a file beside", m_path, std::strerror(errno));
}

void Replacement::takeOver(const struct stat& old) {
  struct stat own = {};
  if (fstat(m_descriptor.get(), &own) != 0) fail("cannot write");
  const bool isOthers = own.st_uid != old.st_uid || own.st_gid != old.st_gid;
  if (isOthers && fchown(m_descriptor.get(), old.st_uid, old.st_gid) != 0) fail("cannot keep the owner of");
  // After the owner, whose change clears bits of the mode.
  if (fchmod(m_descriptor.get(), old.st_mode & 07777) != 0) fail("cannot keep the mode of");
}

void Replacement::fail(const std::string& what) const {
  const std::string why = std::strerror(errno);
  failWith(what, m_path, why + "; nothing was changed");
}

void Replacement::write(const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(m_descriptor.get(), text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("cannot write");
    done += static_cast<std::size_t>(count);
  }
}

void Replacement::flush() {
  if (fsync(m_descriptor.get()) != 0) fail("cannot write");
}

void Replacement::commit() {
  flush();
  if (std::rename(m_temporary.c_str(), m_path.c_str()) != 0) fail("cannot replace");
  m_temporary.clear();
}

}  // namespace zrhost
