#include "service/timed_stream_internal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

namespace zrservice {

TimedStream::TimedStream(int descriptor, int wake, std::chrono::seconds limit, std::size_t mostBytes)
    : m_descriptor(descriptor),
      m_wake(wake),
      m_limit(limit),
      m_mostBytes(mostBytes),
      m_readEnd(Clock::now() + limit),
      m_writeEnd(Clock::time_point::max()) {}

bool TimedStream::waitFor(short what, Clock::time_point end) const {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
  std::array<pollfd, 2> both{{{m_descriptor, what, 0}, {m_wake, POLLIN, 0}}};
  return left > 0 && poll(both.data(), both.size(), static_cast<int>(left)) > 0 && both[1].revents == 0;
}

bool TimedStream::is_readable() const {
  return m_start < m_filled || waitFor(POLLIN, m_readEnd);
}

bool TimedStream::is_writable() const {
  return waitFor(POLLOUT, Clock::now() + m_limit);
}

// The library reads byte by byte.
bool TimedStream::fill() {
  ssize_t count = -1;
  do {
    if (m_mostBytes == 0 || !waitFor(POLLIN, m_readEnd)) return false;
    count = recv(m_descriptor, m_bytes.data(), std::min(m_bytes.size(), m_mostBytes), 0);
  } while (count < 0 && (errno == EINTR || errno == EAGAIN));
  m_hasEnded = count == 0;
  m_start = 0;
  m_filled = count > 0 ? static_cast<std::size_t>(count) : 0;
  m_mostBytes -= m_filled;
  return count > 0;
}

ssize_t TimedStream::read(char* bytes, std::size_t size) {
  if (m_start == m_filled && !fill()) return m_hasEnded ? 0 : -1;
  const std::size_t taken = std::min(size, m_filled - m_start);
  std::memcpy(bytes, m_bytes.data() + m_start, taken);
  m_start += taken;
  return static_cast<ssize_t>(taken);
}

ssize_t TimedStream::write(const char* bytes, std::size_t size) {
  if (m_writeEnd == Clock::time_point::max()) m_writeEnd = Clock::now() + m_limit;
  for (std::size_t done = 0; done < size;) {
    if (!waitFor(POLLOUT, m_writeEnd)) return -1;
    const ssize_t count = send(m_descriptor, bytes + done, size - done, MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR && errno != EAGAIN) return -1;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(size);
}

void TimedStream::finish() {
  if (shutdown(m_descriptor, SHUT_WR) != 0) return;
  m_readEnd = Clock::now() + std::chrono::seconds(1);
  m_mostBytes = std::size_t{1} << 20U;
  while (fill()) {
  }
}

}  // namespace zrservice
