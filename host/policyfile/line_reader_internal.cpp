#include "host/policyfile/line_reader_internal.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/policyfile/PolicyFileReader.h"
#include "host/policyfile/row_stream_internal.h"

namespace zrhost {
namespace {

constexpr std::size_t kChunk = std::size_t{256} << 10U;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

FileDescriptor openFile(const std::string& path, int given) {
  const int copied = given < 0 && path == "-" ? STDIN_FILENO : given;
  FileDescriptor descriptor(copied >= 0 ? fcntl(copied, F_DUPFD_CLOEXEC, 0)
                                        : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (given >= 0) lseek(given, 0, SEEK_SET);
  if (descriptor) return descriptor;
  const bool isMissing = errno == ENOENT || errno == ENOTDIR;
  throw HostError(isMissing ? ErrorKind::kNoInput : ErrorKind::kInputOutput,
                  "cannot read " + terminalText(path) + ": " + std::strerror(errno));
}

}  // namespace

void failTooLong(const RowPlace& place) {
  failAt(place, "longer than " + std::to_string(kMostLineBytes) + " bytes, which no line of a policy file is");
}

LineReader::LineReader(const std::string& path, int descriptor)
    : m_descriptor(openFile(path, descriptor)),
      m_place{path == "-" ? "standard input" : path, 0},
      m_buffer(kChunk + kPadding) {
  struct stat status = {};
  if (fstat(m_descriptor.get(), &status) == 0 && S_ISREG(status.st_mode)) {
    m_size = static_cast<std::uint64_t>(status.st_size);
  }
}

bool LineReader::next() {
  if (m_read == 0) skipByteOrderMark();
  ++m_place.line;
  std::size_t scanned = 0;  // of the line, without a line feed
  const char* feed = nullptr;
  for (;;) {
    const char* const start = m_buffer.data() + m_start;
    feed = static_cast<const char*>(std::memchr(start + scanned, '\n', m_end - m_start - scanned));
    scanned = m_end - m_start;
    if (feed != nullptr || !readMore()) break;
  }
  const char* const start = m_buffer.data() + m_start;
  m_lineWithEnd = {start, feed != nullptr ? static_cast<std::size_t>(feed - start) + 1 : scanned};
  m_line = feed != nullptr ? m_lineWithEnd.substr(0, m_lineWithEnd.size() - 1) : m_lineWithEnd;
  if (m_line.ends_with('\r')) m_line.remove_suffix(1);
  m_start += m_lineWithEnd.size();
  if (m_lineWithEnd.size() > kMostLineBytes) failTooLong(m_place);
  return !m_lineWithEnd.empty();
}

// What was handed out makes place for what comes; a line that fills the buffer makes it grow, up to the bound.
void LineReader::makeRoom() {
  if (m_start > 0) {
    std::memmove(m_buffer.data(), m_buffer.data() + m_start, m_end - m_start);
    m_end -= m_start;
    m_start = 0;
  }
  if (m_end > kMostLineBytes) failTooLong(m_place);
  if (m_buffer.size() - kPadding - m_end < kChunk) m_buffer.resize(2 * m_end + kChunk + kPadding);
}

bool LineReader::readMore() {
  makeRoom();
  ssize_t count = 0;
  do {
    count = ::read(m_descriptor.get(), m_buffer.data() + m_end, kChunk);
  } while (count < 0 && errno == EINTR);
  if (count < 0) {
    throw HostError(ErrorKind::kInputOutput, "cannot read " + terminalText(m_place.file) + ": " + std::strerror(errno));
  }
  m_end += static_cast<std::size_t>(count);
  m_read += static_cast<std::uint64_t>(count);
  return count > 0;
}

void LineReader::skipByteOrderMark() {
  while (m_end < kByteOrderMark.size() && readMore()) {
  }
  const std::string_view start(m_buffer.data(), m_end);
  if (start.starts_with(kByteOrderMark)) m_start = kByteOrderMark.size();
}

}  // namespace zrhost
