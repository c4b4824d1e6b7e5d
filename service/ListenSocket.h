#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "host/base/FileDescriptor.h"
#include "host/settings/Options.h"

struct sockaddr_un;

namespace zrservice {

// Where to listen: "unix:PATH" or "inet:ADDRESS:PORT" ("inet:127.0.0.1:10040", "inet:[::1]:10040").
struct ListenAddress {
  std::string text;     // as it was written
  std::string path;     // of a Unix socket; empty otherwise
  std::string address;  // of the other kind
  std::string port;
};

// Throws HostError kUsage with the setting's title for a text that is none, for a path that no socket can have, or for
// an address beyond the loopback unless that is allowed.
ListenAddress parseListenAddress(std::string_view text, const std::string& title, bool allowRemote);

// A socket that connections are accepted from. One that was made here takes its file with it when it goes; one that the
// service manager handed over stays as it is.
class ListenSocket {
 public:
  // Takes over a descriptor that listens already.
  ListenSocket(int descriptor, std::string text);
  // Listens. A socket file that nobody listens on any more is replaced; one that root makes belongs to the user whom
  // the service becomes. Throws HostError kUnreachable when somebody listens there, kUsage when the group of the
  // settings is none that it may give a socket to, kInputOutput for a file that is no socket and for everything that
  // the system refuses.
  ListenSocket(const ListenAddress& where, const zrhost::ServiceSection& settings);
  ~ListenSocket();
  ListenSocket(ListenSocket&& other) noexcept;
  ListenSocket& operator=(ListenSocket&&) = delete;

  int descriptor() const { return m_descriptor.get(); }
  const std::string& text() const { return m_text; }
  // Nobody can find it any more, by its file.
  void takeFileAway();
  // Whether this process lacks the right to do that, which it may have lost since it made the file.
  bool isFileForKeeps() const;
  // Nobody can connect any more.
  void close();

 private:
  void takePlace(const std::string& path, const sockaddr_un& address) const;
  void listenOnFile(const std::string& path, const zrhost::ServiceSection& settings);
  void rememberFile(const std::string& path);
  void listenOnPort(const ListenAddress& where);
  [[noreturn]] void fail(const std::string& doing) const;
  [[noreturn]] void failToGive(const zrhost::ServiceSection& settings) const;

  zrhost::FileDescriptor m_descriptor;
  std::string m_text;
  std::string m_ownFile;  // of a Unix socket that was made here, and which file it is
  dev_t m_ownDevice = 0;
  ino_t m_ownNumber = 0;
};

// Throws HostError kUsage when socket_mode is no octal number, or there is no such group.
void requireSocketSettings(const zrhost::ServiceSection& settings);

}  // namespace zrservice
