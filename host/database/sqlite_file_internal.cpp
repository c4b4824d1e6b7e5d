#include "host/database/sqlite_file_internal.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <utility>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

constexpr std::size_t kLongestPath = 510;  // SQLite's own limit, once links are resolved

bool mayUse(const std::string& path, int how) {
  return faccessat(AT_FDCWD, path.c_str(), how, AT_EACCESS) == 0;
}

}  // namespace

SqliteFile::SqliteFile(std::string path, std::string place)
    : m_path(std::move(path)), m_place(std::move(place)), m_file(open(m_path.c_str(), O_PATH | O_CLOEXEC)) {
  struct stat status {};
  if (!m_file || fstat(m_file.get(), &status) != 0) {
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    fail(missing ? "there is no such file; make it with 'zrpolicy init' or name another" : std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) fail("it is a folder; name a file");
  if (!S_ISREG(status.st_mode)) fail("it is no regular file; name another");
  if (!mayUse(m_path, R_OK)) fail("no permission to read it; have its owner grant that");
  if (const std::size_t size = realPath().size(); size > kLongestPath) {
    fail("its full path has " + std::to_string(size) + " bytes, SQLite takes " + std::to_string(kLongestPath) +
         "; move it up");
  }
}

std::string SqliteFile::database() const {
  const std::string name = "/proc/self/fd/" + std::to_string(m_file.get());
  return m_unlocked ? "file:" + name + "?immutable=1" : name;
}

bool SqliteFile::mayReadUnlocked() {
  const std::string folder = std::filesystem::path(realPath()).parent_path().string();
  if (mayUse(folder, W_OK | X_OK)) return false;
  if (holds("-journal")) {
    fail("a writer ended in the middle, and this user may not undo its half; let a writer open the database once");
  }
  if (holds("-wal")) {
    fail("its log, '" + m_path +
         "-wal', holds changes, and this user may not put them in order; let a writer close the database, or run "
         "PRAGMA wal_checkpoint(TRUNCATE)");
  }
  return true;
}

void SqliteFile::readUnlocked() {
  m_unlocked = state();
}

void SqliteFile::throwIfChanged() const {
  if (!m_unlocked) return;
  const State now = state();
  const bool same = now.device == m_unlocked->device && now.file == m_unlocked->file && now.size == m_unlocked->size &&
                    now.written.tv_sec == m_unlocked->written.tv_sec &&
                    now.written.tv_nsec == m_unlocked->written.tv_nsec && !holds("-wal") && !holds("-journal");
  if (!same) fail("it was written to while it was read, and this user cannot keep writers out; try again");
}

bool SqliteFile::isReplaced() const {
  struct stat held {
  }, found{};
  if (fstat(m_file.get(), &held) != 0 || stat(m_path.c_str(), &found) != 0) return true;
  return held.st_dev != found.st_dev || held.st_ino != found.st_ino;
}

SqliteFile::State SqliteFile::state() const {
  struct stat status {};
  if (fstat(m_file.get(), &status) != 0) fail(std::strerror(errno));
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

std::string SqliteFile::realPath() const {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(m_file.get()), ignored).string();
}

bool SqliteFile::holds(const char* suffix) const {
  struct stat status {};
  return stat((realPath() + suffix).c_str(), &status) == 0 && status.st_size > 0;
}

void SqliteFile::fail(const std::string& why) const {
  throw HostError(ErrorKind::kUnreachable, oneLine("cannot open the database " + m_place + ": " + why));
}

}  // namespace zrhost
