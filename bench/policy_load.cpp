#include "bench/policy_load.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "postfix/unix_socket.h"

namespace zrbench {

PolicyLoad::PolicyLoad(const std::string& socketPath, int connections, const std::vector<Exchange>& exchanges)
    : m_exchanges(exchanges),
      m_epoll(epoll_create1(EPOLL_CLOEXEC)),
      m_connections(static_cast<std::size_t>(connections)) {
  for (Connection& connection : m_connections) {
    connection.descriptor = zrtest::connectTo(socketPath);
    if (connection.descriptor < 0) throw std::runtime_error("nobody listens at " + socketPath);
    epoll_event event{EPOLLIN, {.ptr = &connection}};
    epoll_ctl(m_epoll, EPOLL_CTL_ADD, connection.descriptor, &event);
  }
}

PolicyLoad::~PolicyLoad() {
  for (const Connection& connection : m_connections)
    close(connection.descriptor);
  close(m_epoll);
}

void PolicyLoad::ask(Connection& connection, Clock::time_point due) {
  const Exchange& exchange = m_exchanges[m_next++ % m_exchanges.size()];
  connection.pending = &exchange;
  connection.due = due;
  const ssize_t sent = send(connection.descriptor, exchange.request.data(), exchange.request.size(), MSG_NOSIGNAL);
  if (sent != static_cast<ssize_t>(exchange.request.size())) throw std::runtime_error("a request cannot be sent");
}

bool PolicyLoad::takeReply(Connection& connection) {
  std::array<char, 2048> bytes;
  const ssize_t size = recv(connection.descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT);
  if (size <= 0) throw std::runtime_error("the service ended a connection");
  std::string_view reply(bytes.data(), static_cast<std::size_t>(size));
  if (!connection.input.empty() || !reply.ends_with("\n\n")) reply = connection.input.append(reply);
  if (!reply.ends_with("\n\n")) return false;
  if (connection.pending == nullptr || reply != connection.pending->reply) {
    const std::string request = connection.pending != nullptr ? connection.pending->request : "nothing";
    throw std::runtime_error("wrong reply \"" + std::string(reply) + "\" to:\n" + request);
  }
  connection.input.clear();
  connection.pending = nullptr;
  return true;
}

template <class Answered>
void PolicyLoad::collect(const Answered& answered) {
  std::array<epoll_event, 64> events;
  const int count = epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), 0);
  for (int i = 0; i < count; ++i) {
    auto& connection = *static_cast<Connection*>(events[static_cast<std::size_t>(i)].data.ptr);
    if (takeReply(connection)) answered(connection);
  }
}

double PolicyLoad::closedLoop(std::chrono::milliseconds time) {
  const Clock::time_point start = Clock::now(), end = start + time;
  std::size_t answers = 0, open = m_connections.size();
  for (Connection& connection : m_connections)
    ask(connection, start);
  Clock::time_point now = start;
  while (open > 0) {
    collect([&](Connection& connection) {
      ++answers;
      now < end ? ask(connection, now) : static_cast<void>(--open);
    });
    now = Clock::now();
  }
  return static_cast<double>(answers) / std::chrono::duration<double>(now - start).count();
}

void PolicyLoad::openLoop(int perSecond, std::chrono::milliseconds time, std::vector<double>& microseconds) {
  const std::chrono::nanoseconds step = std::chrono::nanoseconds(std::chrono::seconds(1)) / perSecond;
  std::vector<Connection*> idle;
  for (Connection& connection : m_connections)
    idle.push_back(&connection);
  Clock::time_point due = Clock::now();
  const Clock::time_point end = due + time;
  while (due < end || idle.size() < m_connections.size()) {
    const Clock::time_point now = Clock::now();
    for (; due < end && due <= now && !idle.empty(); due += step) {
      ask(*idle.back(), due);
      idle.pop_back();
    }
    collect([&](Connection& connection) {
      microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - connection.due).count());
      idle.insert(idle.begin(), &connection);  // the one that has waited longest is asked next
    });
  }
}

}  // namespace zrbench
