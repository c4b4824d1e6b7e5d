#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "service/worker_internal.h"

namespace zrservice {

// A connection of one of the protocols. Reads, answers all requests that have arrived whole, writes their replies in
// one piece, and reads on: whoever does not take replies gets no more of them.
template <class Request>
class StreamConnection : public Connection, public std::enable_shared_from_this<StreamConnection<Request>> {
 public:
  StreamConnection(Worker& worker, StreamSocket socket, bool isOverLimit)
      : m_worker(worker), m_socket(std::move(socket)), m_isOverLimit(isOverLimit), m_since(coarseNow()) {
    asio::error_code ignored;  // neither a write nor the last read is to wait
    m_socket.non_blocking(true, ignored);
  }

  void start() { m_worker.isDraining() ? drain() : read(); }

  void readForTurn() override {
    m_isWriting = false;
    m_reply.clear();
    // It is to hear no more, has more to answer first, or reads otherwise.
    if (m_isClosing || m_end > m_start || m_worker.isDraining()) return;
    asio::error_code ignored;  // the next read meets it again
    const std::size_t size = m_socket.read_some(room(), ignored);
    if (size > 0) arrive(size);
  }

  void answerForTurn() override { answerRequests(); }

  void endTurn() override { goOn(); }

  void checkTime(Clock::time_point now) override {
    const zrhost::ServiceSection& settings = m_worker.answerer().rules().service;
    const bool isIdle = !m_isWriting && m_end == m_start && !m_isOverLimit;
    const std::chrono::seconds limit(isIdle ? settings.idleTimeout : settings.requestTimeout);
    if (now - m_since < limit) return;
    if (!isIdle) m_worker.counters.timeOuts.fetch_add(1, std::memory_order_relaxed);
    close();
  }

  void drain() override {
    if (m_isWriting) return;  // goes on behind the write
    if (!m_isReading) return readWhatIsThere();
    // What a read has taken already is still on its way here, so the socket must not be read beside it.
    asio::error_code ignored;
    m_socket.cancel(ignored);
  }

  void close() override {
    asio::error_code ignored;
    m_socket.close(ignored);
    m_worker.remove(this);
  }

 private:
  static constexpr std::size_t kFirstBytes = 4096;
  static constexpr std::size_t kMostReplyBytes = std::size_t{64} << 10U;

  // Room behind what has arrived. Bytes are moved only when there is none left.
  asio::mutable_buffer room() {
    if (m_start == m_end) m_start = m_end = 0;
    if (m_end == m_bytes.size() && m_start > 0) {
      std::memmove(m_bytes.data(), m_bytes.data() + m_start, m_end - m_start);
      m_end -= std::exchange(m_start, 0);
    }
    if (m_end == m_bytes.size()) m_bytes.resize(std::max(kFirstBytes, m_bytes.size() * 2));
    return asio::buffer(m_bytes.data() + m_end, m_bytes.size() - m_end);
  }

  void read() {
    m_isReading = true;
    m_socket.async_read_some(
        room(), [self = this->shared_from_this()](const asio::error_code& error, std::size_t size) {
          self->m_isReading = false;
          if (!error) return self->take(size);
          const bool isForDrain = error == asio::error::operation_aborted && self->m_socket.is_open();
          isForDrain ? self->readWhatIsThere() : self->close();
        });
  }

  void arrive(std::size_t size) {
    m_isBeginning |= m_start == m_end;  // the first byte of a request
    m_end += size;
  }

  void take(std::size_t size) {
    arrive(size);
    serve();
  }

  // For one who is to go: what has been sent before counts as asked. What comes while it is answered does not, or a
  // client that always has one more request would keep the service from its end.
  void readWhatIsThere() {
    asio::error_code error;
    const asio::mutable_buffer space = room();
    const std::size_t size = m_socket.read_some(space, error);
    m_hasReadAll = size < space.size();
    if (size > 0) return take(size);
    const bool isMidway = error == asio::error::would_block && m_end > m_start;
    isMidway ? read() : close();
  }

  void serve() {
    answerRequests();
    goOn();
  }

  // Behind the requests that had arrived.
  void goOn() {
    if (!m_reply.empty()) return write();
    if (m_isClosing) return close();
    if (!m_worker.isDraining()) return read();
    const bool isDone = m_hasReadAll && m_end == m_start;
    isDone ? close() : readWhatIsThere();
  }

  // Those that have arrived whole.
  void answerRequests() {
    while (m_end > m_start && !m_isClosing && m_reply.size() < kMostReplyBytes) {
      const Found found = m_request.parse({m_bytes.data() + m_start, m_end - m_start});
      if (found.fault != nullptr) {
        refuse(found.fault);
      } else if (found.size == 0) {
        break;
      } else {
        const std::size_t before = m_reply.size();
        m_isOverLimit ? refuse(nullptr) : m_worker.answerer().answer(m_request, m_reply);
        m_isClosing |= m_reply.size() == before;  // no memory; the next reply would be taken for this one's
        m_start += found.size;
        m_isBeginning = true;  // what follows, or the time without requests
      }
    }
    if (std::exchange(m_isBeginning, false)) m_since = coarseNow();
  }

  // Replies to what cannot be answered, and hears no more of it.
  void refuse(Fault fault) {
    m_isClosing = true;
    if (fault != nullptr) {
      m_worker.counters.badRequests.fetch_add(1, std::memory_order_relaxed);
      m_worker.complain("a connection is closed", fault);
    }
    m_worker.answerer().refuse(m_request, m_reply);
  }

  // Nearly always the system takes a reply as it is. What is next waits for its turn all the same: until then the next
  // request may have come, which saves looking for it in vain.
  void write() {
    m_isWriting = true;
    asio::error_code error;
    const std::size_t sent = m_socket.write_some(asio::buffer(m_reply), error);
    if (sent == m_reply.size()) return m_worker.waitForTurn(this->shared_from_this());
    asio::async_write(m_socket, asio::buffer(m_reply.data() + sent, m_reply.size() - sent),
                      [self = this->shared_from_this()](const asio::error_code& failure, std::size_t) {
                        self->finishWrite(failure);
                      });
  }

  void finishWrite(const asio::error_code& error) {
    m_isWriting = false;
    m_reply.clear();
    if (error || m_isClosing) return close();
    if (m_start == m_end) m_since = coarseNow();  // what has begun meanwhile goes by its own first byte
    serve();
  }

  Worker& m_worker;
  StreamSocket m_socket;
  Request m_request;
  std::vector<char> m_bytes;
  std::size_t m_start = 0, m_end = 0;  // of what has arrived and is not answered
  std::string m_reply;
  bool m_isOverLimit;
  bool m_hasReadAll = false;  // of what had been sent when the end began
  bool m_isReading = false;
  bool m_isWriting = false;
  bool m_isBeginning = false;
  bool m_isClosing = false;
  Clock::time_point m_since;  // of the first byte of a request that is under way, of the last request otherwise
};

}  // namespace zrservice
