#include "service/log_file_internal.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zrservice {
namespace {

constexpr std::string_view kStandardError = "stderr";

int openToAppend(const std::string& path) {
  if (path == kStandardError) return fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
  const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0640);
  if (file >= 0) fcntl(file, F_SETFL, O_APPEND);  // only opening was not to wait
  return file;
}

}  // namespace

LogFile::~LogFile() = default;

bool LogFile::open() {
  zrhost::FileDescriptor file(openToAppend(m_path));
  if (!file) return false;
  struct stat status {};
  m_isRegular = fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
  m_isCutOff = false;
  m_file = std::move(file);
  return true;
}

std::size_t LogFile::writeBytes(std::string_view text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(m_file.get(), text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

std::size_t LogFile::write(std::string_view lines) {
  if (m_isCutOff && writeBytes("\n") == 0) return 0;
  const std::string_view done = lines.substr(0, writeBytes(lines));
  m_isCutOff = !done.empty() && !done.ends_with('\n');
  return static_cast<std::size_t>(std::ranges::count(done, '\n'));
}

}  // namespace zrservice
