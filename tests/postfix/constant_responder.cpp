#include "postfix/constant_responder.h"

#include <map>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "postfix/unix_socket.h"

namespace zrtest {

ConstantResponder::ConstantResponder(const std::string& socketPath, const std::string& action)
    : m_action(action), m_path(socketPath), m_socket(listenAt(socketPath)), m_thread([this] { answerAll(); }) {}

ConstantResponder::~ConstantResponder() {
  shutdown(m_socket, SHUT_RDWR);
  m_thread.join();
  close(m_socket);
  unlink(m_path.c_str());
}

void ConstantResponder::setAction(const std::string& action) {
  const std::lock_guard lock(m_mutex);
  m_action = action;
}

std::vector<std::string> ConstantResponder::requests() const {
  const std::lock_guard lock(m_mutex);
  return m_requests;
}

void ConstantResponder::answerAll() {
  std::map<int, std::string> clients;
  for (;;) {
    std::vector<pollfd> watched = {{m_socket, POLLIN, 0}};
    for (const auto& [client, input] : clients)
      watched.push_back({client, POLLIN, 0});
    poll(watched.data(), watched.size(), -1);
    for (const pollfd& one : watched) {
      if (one.revents == 0 || one.fd == m_socket || answer(one.fd, clients[one.fd])) continue;
      close(one.fd);
      clients.erase(one.fd);
    }
    if (watched[0].revents == 0) continue;
    const int client = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) break;
    clients[client];
  }
  for (const auto& [client, input] : clients)
    close(client);
}

bool ConstantResponder::answer(int client, std::string& input) {
  char buffer[4096];
  const ssize_t size = recv(client, buffer, sizeof buffer, 0);
  if (size <= 0) return false;
  input.append(buffer, static_cast<std::size_t>(size));
  for (std::size_t end; (end = input.find("\n\n")) != std::string::npos; input.erase(0, end + 2)) {
    const std::lock_guard lock(m_mutex);
    m_requests.push_back(input.substr(0, end + 1));
    const std::string reply = "action=" + m_action + "\n\n";
    if (!m_action.empty()) send(client, reply.data(), reply.size(), MSG_NOSIGNAL);
  }
  return true;
}

}  // namespace zrtest
