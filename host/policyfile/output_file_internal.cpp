#include "host/policyfile/output_file_internal.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

constexpr std::size_t kBuffer = std::size_t{256} << 10U;

[[noreturn]] void fail(const std::string& path, const char* why) {
  throw HostError(ErrorKind::kInputOutput, "cannot write " + terminalText(path) + ": " + why);
}

// A device or a pipe: what has been written is gone, so there is nothing to undo.
OutputFile::Write directWriter(const std::string& path) {
  const auto descriptor = std::make_shared<FileDescriptor>(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  if (!*descriptor) fail(path, std::strerror(errno));
  return [descriptor, path](std::string_view text) {
    while (!text.empty()) {
      const ssize_t count = ::write(descriptor->get(), text.data(), text.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail(path, std::strerror(errno));
      text.remove_prefix(static_cast<std::size_t>(count));
    }
  };
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : m_path(linkTarget(path)) {
  struct stat status = {};
  const bool isThere = stat(m_path.c_str(), &status) == 0;
  if (isThere && S_ISDIR(status.st_mode)) fail(path, "it is a folder");
  if (isThere && !S_ISREG(status.st_mode)) {
    m_write = directWriter(m_path);
  } else {
    m_replacement.emplace(m_path, isThere ? std::optional(status) : std::nullopt);
  }
}

void OutputFile::write(std::string_view text) {
  m_buffer += text;
  if (m_buffer.size() >= kBuffer) handOver();
}

void OutputFile::handOver() {
  m_replacement ? m_replacement->write(m_buffer) : m_write(m_buffer);
  m_buffer.clear();
}

void OutputFile::flush() {
  handOver();
  if (m_replacement) m_replacement->flush();
}

void OutputFile::rename() {
  if (m_replacement) m_replacement->commit();
}

void OutputFile::commit() {
  flush();
  if (!m_replacement) return;
  const FolderLock lock(m_path);
  rename();
  lock.flush();
}

}  // namespace zrhost
