#include "service/Server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <sys/socket.h>
#include <utility>

#include "host/base/FileDescriptor.h"
#include "service/stream_connection_internal.h"

namespace zrservice {
namespace {

using zrhost::FileDescriptor;

// Where the process may have no more descriptors, it waits for so long before it tries again.
constexpr std::chrono::milliseconds kPause{100};
constexpr int kAtOnce = 64;
constexpr int kMostWaiting = 4096;  // more than a system keeps waiting at a socket

// Beyond the limit connections are still told why they are not served, but not without end.
constexpr std::size_t kMostTold = 256;

}  // namespace

struct Server::Parts {
  enum class Left { kSome, kNone, kWhatCannotBeTaken };

  // One socket that connections are accepted from, by the first worker's thread.
  struct Acceptor {
    Acceptor(Parts& parts, ListenSocket from, Protocol what)
        : server(parts),
          socket(std::move(from)),
          protocol(what),
          waiter(parts.workers[0]->context()),
          pause(parts.workers[0]->context()) {
      waiter.assign(socket.descriptor());
    }
    ~Acceptor() {
      if (waiter.is_open()) waiter.release();  // the descriptor is the socket's
    }
    void wait();
    // So many at most; errno is the reason why there are no more just now.
    Left accept(int most);
    void acceptSome();
    void waitForBetterTimes(const char* why);
    void close();

    Parts& server;
    ListenSocket socket;
    Protocol protocol;
    asio::posix::stream_descriptor waiter;
    asio::steady_timer pause;
  };

  // A connection that was accepted and is not with its worker yet.
  class Coming {
   public:
    explicit Coming(std::atomic<std::size_t>& count) : m_count(&count) { ++count; }
    Coming(Coming&& other) noexcept : m_count(std::exchange(other.m_count, nullptr)) {}
    ~Coming() {
      if (m_count != nullptr) --*m_count;
    }

   private:
    std::atomic<std::size_t>* m_count;
  };

  Parts(const Desk& what, int threads) : desk(what) {
    for (int i = 0; i < std::max(1, threads); ++i)
      workers.push_back(std::make_unique<Worker>(desk));
  }

  std::size_t open() const {
    std::size_t sum = 0;
    for (const auto& worker : workers)
      sum += worker->open;
    return sum;
  }
  void serve(FileDescriptor client, Protocol protocol);
  void bring(Worker& worker, FileDescriptor client, int family, Protocol protocol, bool isOverLimit);
  template <class Request>
  static void serveOn(Worker& worker, StreamSocket socket, bool isOverLimit);

  const Desk& desk;
  std::atomic<std::size_t> coming{0};
  std::vector<std::unique_ptr<Worker>> workers;
  std::vector<std::unique_ptr<Acceptor>> acceptors;
  std::atomic<bool> isDraining{false};
  std::size_t next = 0;
};

void Server::Parts::Acceptor::wait() {
  waiter.async_wait(asio::posix::stream_descriptor::wait_read, [this](const asio::error_code& error) {
    if (!error) acceptSome();
  });
}

Server::Parts::Left Server::Parts::Acceptor::accept(int most) {
  for (int count = 0; count < most; ++count) {
    FileDescriptor client(accept4(socket.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (client) {
      server.serve(std::move(client), protocol);
    } else if (errno == EAGAIN) {
      return Left::kNone;
    } else if (errno != EINTR && errno != ECONNABORTED) {
      return Left::kWhatCannotBeTaken;
    }
  }
  return Left::kSome;
}

// Whatever fails, want of descriptors or of memory, passes; without a pause it would be met again at once.
void Server::Parts::Acceptor::acceptSome() {
  try {
    accept(kAtOnce) == Left::kWhatCannotBeTaken ? waitForBetterTimes(std::strerror(errno)) : wait();
  } catch (const std::bad_alloc&) {
    waitForBetterTimes(std::strerror(ENOMEM));
  }
}

void Server::Parts::Acceptor::waitForBetterTimes(const char* why) {
  server.workers[0]->complain("cannot take a connection", why);
  pause.expires_after(kPause);
  pause.async_wait([this](const asio::error_code& error) {
    if (!error) wait();
  });
}

void Server::Parts::Acceptor::close() {
  if (waiter.is_open()) waiter.release();
  pause.cancel();
  socket.close();
}

template <class Request>
void Server::Parts::serveOn(Worker& worker, StreamSocket socket, bool isOverLimit) {
  const auto connection = std::make_shared<StreamConnection<Request>>(worker, std::move(socket), isOverLimit);
  worker.add(connection);
  connection->start();
}

// By the worker's thread.
void Server::Parts::bring(Worker& worker, FileDescriptor client, int family, Protocol protocol, bool isOverLimit) {
  StreamSocket socket(worker.context());
  asio::error_code error;
  socket.assign(asio::generic::stream_protocol(family, 0), client.get(), error);
  if (error) {  // the system watches no more descriptors
    worker.complain("cannot watch a connection", error.message().c_str());
    return;
  }
  (void)client.release();
  protocol == Protocol::kPolicy ? serveOn<PolicyRequest>(worker, std::move(socket), isOverLimit)
                                : serveOn<SocketmapRequest>(worker, std::move(socket), isOverLimit);
}

void Server::Parts::serve(FileDescriptor client, Protocol protocol) {
  Worker& worker = *workers[next++ % workers.size()];
  const std::size_t others = open() + coming;
  const auto most = static_cast<std::size_t>(desk.rules()->service.maxConnections);
  worker.counters.connections.fetch_add(1, std::memory_order_relaxed);
  if (others >= most) worker.counters.overLimit.fetch_add(1, std::memory_order_relaxed);
  if (others >= most + kMostTold) return;
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  getsockname(client.get(), reinterpret_cast<sockaddr*>(&address), &size);
  const int on = 1;
  if (address.ss_family != AF_UNIX) setsockopt(client.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  asio::post(worker.context(),
             [this, &worker, client = std::move(client), protocol, family = address.ss_family, isOver = others >= most,
              counted = Coming(coming)]() mutable { bring(worker, std::move(client), family, protocol, isOver); });
}

Server::Server(const Desk& desk, int threads) : m_parts(std::make_unique<Parts>(desk, threads)) {}

Server::~Server() {
  stop();
}

void Server::listen(ListenSocket socket, Protocol protocol) {
  m_parts->acceptors.push_back(std::make_unique<Parts::Acceptor>(*m_parts, std::move(socket), protocol));
}

void Server::start() {
  for (const auto& acceptor : m_parts->acceptors)
    acceptor->wait();
  for (const auto& worker : m_parts->workers)
    worker->start();
}

// What waits to be accepted has been asked too. The files go at once, however busy the workers are.
void Server::beginDrain() {
  for (const auto& acceptor : m_parts->acceptors)
    acceptor->socket.takeFileAway();
  asio::post(m_parts->workers[0]->context(), [this] {
    for (const auto& acceptor : m_parts->acceptors) {
      (void)acceptor->accept(kMostWaiting);
      acceptor->close();
    }
    for (const auto& worker : m_parts->workers)
      worker->beginDrain();
    m_parts->isDraining = true;
  });
}

bool Server::isDrained() const {
  return m_parts->isDraining && m_parts->open() + m_parts->coming == 0;
}

void Server::stop() {
  for (const auto& worker : m_parts->workers)
    worker->stop();
  m_parts->acceptors.clear();
}

std::size_t Server::open() const {
  return m_parts->open();
}

Totals Server::totals() const {
  Totals totals;
  for (const auto& worker : m_parts->workers)
    totals.add(worker->counters);
  return totals;
}

}  // namespace zrservice
