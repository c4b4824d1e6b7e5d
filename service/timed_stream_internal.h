#pragma once

#include <array>
#include <chrono>
#include <httplib.h>

namespace zrservice {

// One connection for one request: so long to read it, so long to write the answer, and neither goes on when the
// descriptor `wake` becomes readable. Threads: one.
class TimedStream : public httplib::Stream {
 public:
  // Of a descriptor that does not block.
  TimedStream(int descriptor, int wake, std::chrono::seconds limit, std::size_t mostBytes);

  bool is_readable() const override;
  bool is_writable() const override;
  ssize_t read(char* bytes, std::size_t size) override;
  // All of it, or -1: the library counts on that.
  ssize_t write(const char* bytes, std::size_t size) override;
  void get_remote_ip_and_port(std::string&, int&) const override {}
  void get_local_ip_and_port(std::string&, int&) const override {}
  socket_t socket() const override { return m_descriptor; }

  // Says that nothing more will come, and reads what the other side still sends, for a moment: a connection that is
  // closed over unread bytes loses the answer as well.
  void finish();

 private:
  using Clock = std::chrono::steady_clock;

  bool waitFor(short what, Clock::time_point end) const;
  bool fill();

  const int m_descriptor, m_wake;
  const std::chrono::seconds m_limit;
  std::size_t m_mostBytes;  // that are still read
  Clock::time_point m_readEnd, m_writeEnd;
  std::array<char, 4096> m_bytes;
  std::size_t m_start = 0, m_filled = 0;
  bool m_hasEnded = false;
};

}  // namespace zrservice
