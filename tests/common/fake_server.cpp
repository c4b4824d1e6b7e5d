#include "common/fake_server.h"

#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace zrtest {

FakeServer::FakeServer(const std::string& refusal)
    : m_letsIn(refusal == kLetIn), m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{AF_UNIX, {}};
  std::strncpy(address.sun_path, m_folder.file(".s.PGSQL.5432").c_str(), sizeof address.sun_path - 1);
  if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(m_socket, 64) != 0) {
    throw std::runtime_error("cannot listen");
  }
  if (refusal.empty()) return;
  const std::string fields = std::string("SFATAL\0VFATAL\0C57P03\0M", 22) + refusal + std::string(2, '\0');
  m_reply = std::string("E\0\0\0", 4) + static_cast<char>(fields.size() + 4) + fields;
  if (m_letsIn) m_reply = std::string("R\0\0\0\10\0\0\0\0Z\0\0\0\5I", 15);
  m_thread = std::thread([this] { answerAll(); });
}

FakeServer::~FakeServer() {
  shutdown(m_socket, SHUT_RDWR);
  if (m_thread.joinable()) m_thread.join();
  close(m_socket);
  for (const int client : m_clients)
    close(client);
}

void FakeServer::answerAll() {
  for (int client; (client = accept(m_socket, nullptr, nullptr)) >= 0;) {
    char startup[1024];
    if (read(client, startup, sizeof startup) > 0) send(client, m_reply.data(), m_reply.size(), MSG_NOSIGNAL);
    ++m_answered;
    m_letsIn ? m_clients.push_back(client) : static_cast<void>(close(client));
  }
}

}  // namespace zrtest
