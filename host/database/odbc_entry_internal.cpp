#include "host/database/odbc_entry_internal.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <pwd.h>
#include <strings.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"

namespace zrhost {
namespace {

constexpr const char* kVariable = "ODBCINI";
constexpr int kBeyondStandardStreams = 3;

[[noreturn]] void throwNoFile() {
  throw HostError(ErrorKind::kInputOutput, std::string("cannot make the ODBC entries in memory: ") +
                                               std::strerror(errno) + "; allow the process more files or memory");
}

FileDescriptor memoryFile(const std::string& text) {
  FileDescriptor file(memfd_create("odbc.ini", MFD_CLOEXEC));
  for (std::size_t done = 0; file && done < text.size();) {
    const ssize_t count = write(file.get(), text.data() + done, text.size() - done);
    if (count <= 0) throwNoFile();
    done += static_cast<std::size_t>(count);
  }
  if (!file) throwNoFile();
  return file;
}

std::string homeOfUser() {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
  return found == nullptr ? "/home" : entry.pw_dir;
}

// The user's own data sources as they stand in that file, which stay in sight of the rest of the process.
std::string withoutPasswords(const std::string& path) {
  std::string text = "\n";
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return text;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const char* name = line.c_str() + std::min(line.find_first_not_of(" \t"), line.size());
    if (strncasecmp(name, "password", 8) != 0 && strncasecmp(name, "pwd", 3) != 0) text += line + '\n';
  }
  return text;
}

// What all objects share. Its members change under the lock alone.
class Entries {
 public:
  // Never destroyed: objects of static storage may outlive any other.
  static Entries& shared() {
    static auto* const entries = new Entries;
    return *entries;
  }

  std::string add(const std::string& settings) {
    const std::lock_guard lock(m_mutex);
    std::string name = "zrpolicy-" + std::to_string(++m_count);
    m_texts[name] = "[" + name + "]\n" + settings;
    try {
      publish();
    } catch (...) {
      m_texts.erase(name);
      throw;
    }
    return name;
  }

  void remove(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    m_texts.erase(name);
    publish();
  }

  std::string userFile() {
    const std::lock_guard lock(m_mutex);
    takeUserFile();
    return pathOfUserFile();
  }

  void prepare() {
    const std::lock_guard lock(m_mutex);
    publish();
  }

 private:
  // A new file takes the place of the old one at once: whoever opens it meanwhile reads the one or the other, whole.
  void publish() {
    takeUserFile();
    std::string text;
    for (const auto& [name, section] : m_texts)
      text += section;
    const FileDescriptor file = memoryFile(text + withoutPasswords(pathOfUserFile()));
    if (isTaken()) m_number = -1;
    if (m_number < 0) m_number = fcntl(file.get(), F_DUPFD_CLOEXEC, kBeyondStandardStreams);
    if (m_number < 0 || dup3(file.get(), m_number, O_CLOEXEC) < 0 || fstat(m_number, &m_status) != 0) throwNoFile();
    const std::string own = "/proc/self/fd/" + std::to_string(m_number);
    if (const char* value = std::getenv(kVariable); value == nullptr || own != value) setenv(kVariable, own.c_str(), 1);
    m_own = own;
  }

  // Whether our number stands for another file now, since somebody closed what is not theirs, as daemons do.
  bool isTaken() const {
    struct stat status {};
    return m_number >= 0 && fstat(m_number, &status) == 0 &&
           (status.st_dev != m_status.st_dev || status.st_ino != m_status.st_ino);
  }

  // Notes what the variable says, unless we said so.
  void takeUserFile() {
    const char* value = std::getenv(kVariable);
    if (value == nullptr) m_userFile.clear();
    if (value != nullptr && m_own != value) m_userFile = std::filesystem::absolute(value);
  }

  std::string pathOfUserFile() const { return m_userFile.empty() ? homeOfUser() + "/.odbc.ini" : m_userFile; }

  std::mutex m_mutex;
  std::map<std::string, std::string> m_texts;  // by name
  std::string m_userFile;                      // empty: the variable was not set
  std::string m_own;                           // what the variable was set to
  unsigned long m_count = 0;
  int m_number = -1;  // the descriptor that the variable names; never closed
  struct stat m_status {};
};

[[gnu::constructor]] void takeOverTheVariable() noexcept {
  try {
    Entries::shared().prepare();
  } catch (...) {  // the first object tries again, and says why
  }
}

}  // namespace

OdbcEntry::OdbcEntry(const std::string& settings) : m_name(Entries::shared().add(settings)) {}

OdbcEntry::~OdbcEntry() {
  if (m_name.empty()) return;
  try {
    Entries::shared().remove(m_name);
  } catch (...) {  // the text stays a while longer in memory that is this process's own
  }
}

std::string OdbcEntry::userFile() {
  return Entries::shared().userFile();
}

}  // namespace zrhost
