#include "postfix/unix_socket.h"

#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace zrtest {
namespace {

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{AF_UNIX, {}};
  if (path.size() >= sizeof address.sun_path) throw std::runtime_error("too long for a socket: " + path);
  std::strcpy(address.sun_path, path.c_str());
  return address;
}

}  // namespace

int connectTo(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return descriptor;
  close(descriptor);
  return -1;
}

int listenAt(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      chmod(path.c_str(), 0666) != 0 || listen(descriptor, 64) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return descriptor;
}

}  // namespace zrtest
