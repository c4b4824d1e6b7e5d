#include "host/import/PolicyFileInput.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "host/base/HostError.h"
#include "host/base/anonymous_file.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

constexpr std::size_t kBlock = std::size_t{256} << 10U;
constexpr const char* kStandardInput = "-";

bool isReadOnce(const FileDescriptor& file) {
  struct stat status = {};
  return fstat(file.get(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

FileDescriptor copyOf(const FileDescriptor& file, const std::string& name) {
  FileDescriptor copy = anonymousFile();
  std::vector<char> block(kBlock);
  for (;;) {
    const ssize_t count = read(file.get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw HostError(ErrorKind::kInputOutput, "cannot read " + name + ": " + std::strerror(errno));
    if (count == 0) return copy;
    writeAll(copy, block.data(), static_cast<std::size_t>(count), "a temporary copy of " + name);
  }
}

}  // namespace

// Standard input that is a file is taken from where it stands, as for the first reading; it is copied too, since the
// shell may have it read elsewhere.
PolicyFileInput::PolicyFileInput(std::string path) : m_path(std::move(path)) {
  const bool isStandardInput = m_path == kStandardInput;
  const FileDescriptor file(isStandardInput ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                            : ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (file && (isStandardInput || isReadOnce(file))) m_copy = copyOf(file, name());
  open();  // which says why there is none
}

std::string PolicyFileInput::name() const {
  return m_path == kStandardInput ? "standard input" : terminalText(m_path);
}

std::string PolicyFileInput::path() const {
  return m_path == kStandardInput ? std::string() : m_path;
}

void PolicyFileInput::open() {
  m_reader = std::make_unique<PolicyFileReader>(m_path, PolicyFileOptions{true, m_copy.get()});
  m_shape = m_reader->shape();
  m_wasRead = false;
}

void PolicyFileInput::read(PlacedRowSink& sink) {
  if (m_wasRead) open();
  m_wasRead = true;
  m_reader->read(sink);
}

}  // namespace zrhost
