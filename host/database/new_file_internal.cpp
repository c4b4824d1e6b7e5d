#include "host/database/new_file_internal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

bool isThere(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

std::string folderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

// What belongs to a database and bears its name: a new one would take it for its own and play it back.
void refuseStaleJournal(const std::string& path) {
  for (const std::string& journal : {path + "-wal", path + "-journal"}) {
    if (!isThere(journal) || isThere(path)) continue;
    std::string text = "cannot make a policy database in '";
    text.append(path).append("': '").append(journal).append("' of an earlier database is there; remove it first");
    throw HostError(ErrorKind::kTablesPresent, oneLine(std::move(text)));
  }
}

void holdSignals(sigset_t& old) {
  sigset_t held;
  sigemptyset(&held);
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM})
    sigaddset(&held, signal);
  pthread_sigmask(SIG_BLOCK, &held, &old);
}

// Not every file system knows the first way, nor the second.
bool renameToNew(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  if (link(from.c_str(), to.c_str()) != 0) return false;
  unlink(from.c_str());
  return true;
}

}  // namespace

NewFile::NewFile(const std::string& path) : m_path(path), m_folder(folderOf(path)) {
  refuseStaleJournal(path);
  holdSignals(m_oldSignals);
  std::random_device device;
  FileDescriptor file;
  do {
    m_temporary = m_folder + "/.zrpolicy-init-" + std::to_string(device());
    file = FileDescriptor(open(m_temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  } while (!file && errno == EEXIST);
  if (file) return;
  const int fault = errno;
  pthread_sigmask(SIG_SETMASK, &m_oldSignals, nullptr);
  errno = fault;
  fail();
}

NewFile::~NewFile() {
  for (const char* part : {"", "-wal", "-shm", "-journal"})
    if (!m_temporary.empty()) unlink((m_temporary + part).c_str());
  pthread_sigmask(SIG_SETMASK, &m_oldSignals, nullptr);
}

void NewFile::fail() const {
  throw HostError(ErrorKind::kUnreachable, oneLine("cannot create the database '" + m_path + "': " +
                                                   std::strerror(errno) + "; name a place that can be written"));
}

bool NewFile::publish() {
  refuseStaleJournal(m_path);
  if (!renameToNew(m_temporary, m_path)) {
    if (errno == EEXIST) return false;
    fail();
  }
  m_temporary.clear();
  const FileDescriptor folder(open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder) fsync(folder.get());  // some file systems cannot flush a folder, and need not
  return true;
}

}  // namespace zrhost
