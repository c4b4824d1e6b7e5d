#include "service/ListenSocket.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <netdb.h>
#include <optional>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "service/Identity.h"

namespace zrservice {
namespace {

using zrhost::ErrorKind;
using zrhost::HostError;

constexpr int kBacklog = 1024;
constexpr std::size_t kMostPathBytes = sizeof(sockaddr_un::sun_path) - 1;
constexpr int kSocketType = SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK;

[[noreturn]] void refuse(const std::string& title, std::string_view text, const std::string& why) {
  throw HostError(ErrorKind::kUsage, title + " = \"" + zrhost::shortened(text) + "\": " + why);
}

bool isLoopback(const std::string& address) {
  in_addr four{};
  in6_addr six{};
  if (inet_pton(AF_INET, address.c_str(), &four) == 1) return (ntohl(four.s_addr) >> 24U) == 127;
  return inet_pton(AF_INET6, address.c_str(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six);
}

bool isAddress(const std::string& address) {
  unsigned char bytes[sizeof(in6_addr)];
  return inet_pton(AF_INET, address.c_str(), bytes) == 1 || inet_pton(AF_INET6, address.c_str(), bytes) == 1;
}

mode_t modeOf(const zrhost::ServiceSection& settings) {
  unsigned mode = 0;
  const std::string& text = settings.socketMode;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), mode, 8);
  if (error != std::errc() || end != text.data() + text.size() || mode > 0777)
    refuse("[service] socket_mode", text, "not an octal number up to 0777");
  return mode;
}

// -1: that of the process.
gid_t groupOf(const zrhost::ServiceSection& settings) {
  if (settings.socketGroup.empty()) return static_cast<gid_t>(-1);
  const group* const found = getgrnam(settings.socketGroup.c_str());
  if (found == nullptr) refuse("[service] socket_group", settings.socketGroup, "no group of this name");
  return found->gr_gid;
}

// False when the system refuses.
bool giveTo(const std::string& path, std::optional<Identity> whom, gid_t group) {
  const uid_t user = whom ? whom->user : static_cast<uid_t>(-1);
  if (group == static_cast<gid_t>(-1) && whom) group = whom->group;
  if (user == static_cast<uid_t>(-1) && group == static_cast<gid_t>(-1)) return true;
  return chown(path.c_str(), user, group) == 0;
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == path.npos ? "." : path.substr(0, slash + 1);
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.data(), std::min(path.size(), kMostPathBytes));
  return address;
}

// Whether nobody accepts connections there any more. Everything else that the system says, that we may not connect for
// instance, is no reason to take a socket from a program that may be running.
bool isLeftOver(const sockaddr_un& address) {
  const zrhost::FileDescriptor probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return probe && connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
         (errno == ECONNREFUSED || errno == ENOENT);
}

// Two services that start at once and find the same socket left over would each take the other's new one for it. They
// take turns by a lock on its folder, for which nothing has to be written; whoever keeps it for long is not waited for.
class FolderTurn {
 public:
  explicit FolderTurn(const std::string& path)
      : m_folder(open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    for (int tries = 0; m_folder && tries < 200 && flock(m_folder.get(), LOCK_EX | LOCK_NB) != 0; ++tries)
      usleep(10'000);
  }

 private:
  zrhost::FileDescriptor m_folder;
};

}  // namespace

ListenAddress parseListenAddress(std::string_view text, const std::string& title, bool allowRemote) {
  ListenAddress found{zrhost::terminalText(text), {}, {}, {}};
  if (text.starts_with("unix:") && text.size() > 5) {
    found.path = text.substr(5);
    if (found.path.size() > kMostPathBytes) refuse(title, text, "the path of a socket ends at 107 bytes");
    return found;
  }
  const std::size_t colon = text.rfind(':');
  if (!text.starts_with("inet:") || colon < 6) refuse(title, text, "neither unix:PATH nor inet:ADDRESS:PORT");
  found.address = text.substr(5, colon - 5);
  found.port = text.substr(colon + 1);
  if (found.address.starts_with('[') && found.address.ends_with(']'))
    found.address = found.address.substr(1, found.address.size() - 2);
  unsigned port = 0;
  const auto [end, error] = std::from_chars(found.port.data(), found.port.data() + found.port.size(), port);
  if (error != std::errc() || end != found.port.data() + found.port.size() || port < 1 || port > 65535)
    refuse(title, text, "the port is no number from 1 to 65535");
  if (!isAddress(found.address)) refuse(title, text, "not an address");
  if (!allowRemote && !isLoopback(found.address))
    refuse(title, text,
           "others could connect; take an address of the loopback (allow_remote = yes allows it in [service] alone)");
  return found;
}

void requireSocketSettings(const zrhost::ServiceSection& settings) {
  (void)modeOf(settings);
  (void)groupOf(settings);
}

ListenSocket::ListenSocket(int descriptor, std::string text) : m_descriptor(descriptor), m_text(std::move(text)) {}

// Delegates, so that a failure half-way takes the socket's file away.
ListenSocket::ListenSocket(const ListenAddress& where, const zrhost::ServiceSection& settings)
    : ListenSocket(-1, where.text) {
  where.path.empty() ? listenOnPort(where) : listenOnFile(where.path, settings);
}

ListenSocket::~ListenSocket() {
  close();
}

ListenSocket::ListenSocket(ListenSocket&& other) noexcept
    : m_descriptor(std::move(other.m_descriptor)),
      m_text(std::move(other.m_text)),
      m_ownFile(std::exchange(other.m_ownFile, {})),
      m_ownDevice(other.m_ownDevice),
      m_ownNumber(other.m_ownNumber) {}

// The file is taken away unless another has come to its place.
void ListenSocket::takeFileAway() {
  struct stat status {};
  const bool isOurs = !m_ownFile.empty() && lstat(m_ownFile.c_str(), &status) == 0 && status.st_dev == m_ownDevice &&
                      status.st_ino == m_ownNumber;
  if (isOurs) unlink(m_ownFile.c_str());
  m_ownFile.clear();
}

bool ListenSocket::isFileForKeeps() const {
  if (m_ownFile.empty()) return false;
  struct stat status {};
  const std::string folder = folderOf(m_ownFile);
  const bool isOthers = stat(folder.c_str(), &status) == 0 && (status.st_mode & S_ISVTX) != 0 &&
                        status.st_uid != geteuid() && lstat(m_ownFile.c_str(), &status) == 0 &&
                        status.st_uid != geteuid();
  return isOthers || access(folder.c_str(), W_OK | X_OK) != 0;
}

void ListenSocket::close() {
  takeFileAway();
  m_descriptor = zrhost::FileDescriptor();
}

void ListenSocket::fail(const std::string& doing) const {
  throw HostError(ErrorKind::kInputOutput, "cannot " + doing + " " + m_text + ": " + std::strerror(errno));
}

// Who starts it again does not help a user who may not give a socket to that group.
void ListenSocket::failToGive(const zrhost::ServiceSection& settings) const {
  if (errno == EPERM && !settings.socketGroup.empty())
    refuse("[service] socket_group", settings.socketGroup, "the service's user is not in this group");
  fail("give its user and group to");
}

// What stands at the path is replaced only when it is a socket that nobody serves.
void ListenSocket::takePlace(const std::string& path, const sockaddr_un& address) const {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return;
  if (!S_ISSOCK(status.st_mode))
    throw HostError(ErrorKind::kInputOutput,
                    "cannot listen on " + m_text + ": a file that is no socket is there; take it away");
  if (!isLeftOver(address))
    throw HostError(ErrorKind::kUnreachable, "cannot listen on " + m_text + ": another program does already");
  if (unlink(path.c_str()) != 0) fail("replace the socket that was left at");
}

void ListenSocket::listenOnFile(const std::string& path, const zrhost::ServiceSection& settings) {
  const sockaddr_un address = addressOf(path);
  const FolderTurn turn(path);
  takePlace(path, address);
  m_descriptor = zrhost::FileDescriptor(socket(AF_UNIX, kSocketType, 0));
  // Nobody may connect before the permissions are right: it listens after that.
  if (!m_descriptor || bind(m_descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    fail("listen on");
  rememberFile(path);
  if (!giveTo(path, identityToTake(settings.user), groupOf(settings))) failToGive(settings);
  if (chmod(path.c_str(), modeOf(settings)) != 0) fail("set the permissions of");
  if (listen(m_descriptor.get(), kBacklog) != 0) fail("listen on");
}

void ListenSocket::rememberFile(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) fail("find");
  m_ownFile = path;
  m_ownDevice = status.st_dev;
  m_ownNumber = status.st_ino;
}

void ListenSocket::listenOnPort(const ListenAddress& where) {
  addrinfo hints{}, *found = nullptr;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
  hints.ai_socktype = SOCK_STREAM;
  if (getaddrinfo(where.address.c_str(), where.port.c_str(), &hints, &found) != 0) {
    errno = EADDRNOTAVAIL;
    fail("listen on");
  }
  m_descriptor = zrhost::FileDescriptor(socket(found->ai_family, kSocketType, 0));
  const int on = 1;
  setsockopt(m_descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const bool isBound = bind(m_descriptor.get(), found->ai_addr, found->ai_addrlen) == 0;
  const int why = errno;
  freeaddrinfo(found);
  errno = why;
  if (!isBound && why == EADDRINUSE)
    throw HostError(ErrorKind::kUnreachable, "cannot listen on " + m_text + ": another program does already");
  if (!isBound || listen(m_descriptor.get(), kBacklog) != 0) fail("listen on");
}

}  // namespace zrservice
