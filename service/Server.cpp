#include "service/Server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "service/stream_connection_internal.h"

namespace zrservice {
namespace {

// Where the process may have no more descriptors, it waits for so long before it tries again.
constexpr std::chrono::milliseconds kPause{100};
constexpr int kAtOnce = 64;
constexpr int kMostWaiting = 4096;  // more than a system keeps waiting at a socket

// Beyond the limit connections are still told why they are not served, but not without end.
constexpr std::size_t kMostTold = 256;

}  // namespace

struct Server::Parts {
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
    // So many at most; false when nobody is left that waits to be accepted.
    bool accept(int most);
    void acceptSome();
    void waitForDescriptors();
    void close();

    Parts& server;
    ListenSocket socket;
    Protocol protocol;
    asio::posix::stream_descriptor waiter;
    asio::steady_timer pause;
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
  void serve(int descriptor, Protocol protocol);
  template <class Request>
  void serveOn(Worker& worker, StreamSocket socket, bool isOverLimit);

  const Desk& desk;
  std::vector<std::unique_ptr<Worker>> workers;
  std::vector<std::unique_ptr<Acceptor>> acceptors;
  std::atomic<std::size_t> accepted{0};  // and not yet with their worker
  std::atomic<bool> isDraining{false};
  std::size_t next = 0;
};

void Server::Parts::Acceptor::wait() {
  waiter.async_wait(asio::posix::stream_descriptor::wait_read, [this](const asio::error_code& error) {
    if (!error) acceptSome();
  });
}

bool Server::Parts::Acceptor::accept(int most) {
  for (int count = 0; count < most; ++count) {
    const int client = accept4(socket.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client >= 0) {
      server.serve(client, protocol);
    } else if (errno != EINTR && errno != ECONNABORTED) {
      return false;
    }
  }
  return true;
}

void Server::Parts::Acceptor::acceptSome() {
  const bool isShort = !accept(kAtOnce) && (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM);
  isShort ? waitForDescriptors() : wait();
}

void Server::Parts::Acceptor::waitForDescriptors() {
  PolicyLog::log(PolicyLog::LEVEL_WARNING, "cannot take a connection: %s", std::strerror(errno));
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
  --accepted;
  connection->start();
}

void Server::Parts::serve(int descriptor, Protocol protocol) {
  Worker& worker = *workers[next++ % workers.size()];
  const std::size_t others = open() + accepted;
  const auto most = static_cast<std::size_t>(desk.rules()->service.maxConnections);
  worker.counters.connections.fetch_add(1, std::memory_order_relaxed);
  if (others >= most) worker.counters.overLimit.fetch_add(1, std::memory_order_relaxed);
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
  if (others >= most + kMostTold) {
    close(descriptor);
    return;
  }
  const int on = 1;
  if (address.ss_family != AF_UNIX) setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  ++accepted;
  asio::post(worker.context(),
             [this, &worker, descriptor, protocol, family = address.ss_family, isOver = others >= most] {
               StreamSocket socket(worker.context());
               asio::error_code error;
               socket.assign(asio::generic::stream_protocol(family, 0), descriptor, error);
               if (error) {  // the system watches no more descriptors
                 close(descriptor);
                 --accepted;
                 return;
               }
               protocol == Protocol::kPolicy ? serveOn<PolicyRequest>(worker, std::move(socket), isOver)
                                             : serveOn<SocketmapRequest>(worker, std::move(socket), isOver);
             });
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

// What waits to be accepted has been asked too.
void Server::beginDrain() {
  asio::post(m_parts->workers[0]->context(), [this] {
    for (const auto& acceptor : m_parts->acceptors) {
      acceptor->accept(kMostWaiting);
      acceptor->close();
    }
    for (const auto& worker : m_parts->workers)
      worker->beginDrain();
    m_parts->isDraining = true;
  });
}

bool Server::isDrained() const {
  return m_parts->isDraining && m_parts->open() + m_parts->accepted == 0;
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
