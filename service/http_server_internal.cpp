#include "service/http_server_internal.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/quiet_thread.h"
#include "service/timed_stream_internal.h"

namespace zrservice {
namespace {

constexpr std::chrono::seconds kLimit{5};
constexpr std::size_t kMostHttpBytes = kMostBodyBytes * 2;  // the headers included
constexpr int kPause = 100;                                 // ms, where the process may have no more descriptors

}  // namespace

void HttpServer::Routes::answer(httplib::Stream& stream) {
  bool isClosed = false;
  process_request(stream, true, isClosed, nullptr);
}

HttpServer::HttpServer(ListenSocket socket)
    : m_socket(std::move(socket)), m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!m_wake)
    throw zrhost::HostError(zrhost::ErrorKind::kInputOutput,
                            std::string("cannot serve the administration: ") + std::strerror(errno));
  m_routes.set_payload_max_length(kMostBodyBytes);
}

HttpServer::~HttpServer() {
  stop();
}

void HttpServer::start() {
  for (std::thread& thread : m_threads)
    thread = zrhost::quietThread([this] { serve(); });
}

void HttpServer::stop() {
  m_isStopping = true;
  const std::uint64_t one = 1;
  (void)!::write(m_wake.get(), &one, sizeof one);  // nobody takes it back
  for (std::thread& thread : m_threads)
    if (thread.joinable()) thread.join();
  m_socket.close();
}

// Another thread, or a client that left, may have taken what was announced, so accepting never waits.
void HttpServer::serve() {
  while (!m_isStopping) {
    std::array<pollfd, 2> both{{{m_socket.descriptor(), POLLIN, 0}, {m_wake.get(), POLLIN, 0}}};
    if (poll(both.data(), both.size(), -1) < 0 || both[1].revents != 0) continue;
    const int client = accept4(m_socket.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client >= 0) {
      serve(client);
    } else if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) {
      poll(&both[1], 1, kPause);
    }
  }
}

void HttpServer::serve(int descriptor) {
  const zrhost::FileDescriptor owner(descriptor);
  try {
    TimedStream stream(descriptor, m_wake.get(), kLimit, kMostHttpBytes);
    m_routes.answer(stream);
    stream.finish();
  } catch (...) {  // no memory: the connection is closed without an answer
  }
}

}  // namespace zrservice
