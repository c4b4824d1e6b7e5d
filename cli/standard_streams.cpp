#include "cli/standard_streams.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrcli {

namespace {

constexpr std::size_t kBlock = 64 * 1024;

[[noreturn]] void fail(const std::string& what, const char* advice) {
  const std::string reason = std::strerror(errno);
  throw zrhost::HostError(zrhost::ErrorKind::kInputOutput, what + ": " + reason + "; " + advice);
}

// Whether the call on `descriptor` is worth another try: it was interrupted, or the descriptor is a non-blocking one
// that is ready now.
bool shouldRetry(int descriptor, short event) {
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd waited{descriptor, event, 0};
  return ::poll(&waited, 1, -1) > 0 || errno == EINTR;
}

}  // namespace

void secureStandardDescriptors() {
  // Opened for the opposite of its use, a place fails with EBADF, as the missing descriptor would have.
  constexpr int kModes[] = {O_WRONLY, O_RDONLY, O_RDONLY};
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
      [[maybe_unused]] const int lowestFree = ::open("/dev/null", kModes[descriptor]);
    }
  }
}

void StandardOutput::write(std::string_view text) {
  m_buffer += text;
  if (m_buffer.size() >= kBlock) flush();
}

void StandardOutput::flush() {
  std::size_t done = 0;
  while (done < m_buffer.size()) {
    const ssize_t written = ::write(STDOUT_FILENO, m_buffer.data() + done, m_buffer.size() - done);
    if (written >= 0) {
      done += static_cast<std::size_t>(written);
    } else if (!shouldRetry(STDOUT_FILENO, POLLOUT)) {
      m_buffer.clear();
      if (errno == EPIPE) throw ReaderGone();
      fail("cannot write to standard output", "the output is incomplete: direct it where there is room");
    }
  }
  m_buffer.clear();
}

void StandardOutput::close() {
  flush();
  if (::close(STDOUT_FILENO) != 0 && errno != EINTR) {
    fail("cannot close standard output", "the output may be incomplete");
  }
}

int printAll(std::string_view text) {
  StandardOutput output;
  output.write(text);
  output.close();
  return 0;
}

void writeError(std::string_view text) noexcept {
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

void printError(std::string_view text) noexcept {
  try {
    writeError("zrpolicy: " + zrhost::terminalText(text) + '\n');
  } catch (...) {
    writeError("zrpolicy: out of memory\n");
  }
}

void printWarnings(const std::vector<std::string>& texts) {
  for (const std::string& text : texts)
    printError("warning: " + text);
}

bool LineReader::next(std::string& line) {
  std::size_t end = m_buffer.find('\n', m_scanned);
  while (end == std::string::npos) {
    m_scanned = m_buffer.size();
    if (!readMore()) {
      if (m_start == m_buffer.size()) return false;
      m_buffer += '\n';
    }
    end = m_buffer.find('\n', m_scanned);
  }
  const bool hasReturn = end > m_start && m_buffer[end - 1] == '\r';
  line.assign(m_buffer, m_start, end - m_start - (hasReturn ? 1 : 0));
  m_start = m_scanned = end + 1;
  return true;
}

bool LineReader::readMore() {
  m_buffer.erase(0, m_start);
  m_scanned -= m_start;
  m_start = 0;
  m_beforeWaiting();
  const std::size_t size = m_buffer.size();
  m_buffer.resize(size + kBlock);
  ssize_t count = ::read(STDIN_FILENO, m_buffer.data() + size, kBlock);
  while (count < 0 && shouldRetry(STDIN_FILENO, POLLIN)) {
    count = ::read(STDIN_FILENO, m_buffer.data() + size, kBlock);
  }
  if (count < 0) fail("cannot read standard input", "give one question on each line");
  m_buffer.resize(size + static_cast<std::size_t>(count));
  return count > 0;
}

}  // namespace zrcli
