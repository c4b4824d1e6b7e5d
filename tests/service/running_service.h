#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>

#include "common/temp_folder.h"

struct sockaddr;

namespace zrtest {

// Whether it becomes true within half a minute.
bool comesTrue(const std::function<bool()>& condition);

// A connection to a Unix socket, or to a port of 127.0.0.1 or ::1. Whoever waits for it gives up after a minute.
class Client {
 public:
  explicit Client(const std::string& path);
  explicit Client(int port, bool isIpv6 = false);
  ~Client();
  Client(Client&& other) noexcept;
  Client& operator=(Client&&) = delete;

  bool isOpen() const { return m_isOpen; }
  // False when not all of it could be sent.
  bool send(const std::string& text) const;
  // So much of it as there is room for at once.
  std::size_t sendSome(const std::string& text) const;
  void endSending() const;
  // Waits until the other side of a Unix socket has read everything.
  void waitUntilRead() const;
  // What comes up to and with that end; less when the connection ends before.
  std::string receive(const std::string& end) const;
  std::string receiveAll() const;
  bool hasEnded() const { return receiveAll().empty(); }

 private:
  void connectTo(const sockaddr* address, unsigned size);

  int m_socket = -1;
  bool m_isOpen = false;
};

// The answer that is given without policies, and to what is no request.
inline constexpr char kNotReady[] = "action=DEFER_IF_PERMIT 4.3.5 policy service is not ready\n\n";
// What the sample site says of john@example.org.
inline constexpr char kAskJohn[] = "request=smtpd_access_policy\nsasl_username=john@example.org\n\n";
inline constexpr char kJohns[] = "action=BCC archive@example.org\n\n";

// The daemon as a process of its own on the sample site, with a folder for all that it has. Root hands the folder to
// another user, whom the service becomes.
class ServiceTest : public testing::Test {
 protected:
  static constexpr const char* kUser = "nobody";

  ServiceTest();
  ~ServiceTest() override;

  // Writes the settings: those that every test has, unless it gives them itself, and `more` lines of [service], after
  // which other sections may come.
  void configure(const std::string& more) const;
  void writeSettings(const std::string& text) const;
  // Starts a process; `prepare` is done by it, before it becomes the daemon.
  pid_t launch(const std::function<void()>& prepare = {}) const;
  // That process's end: the exit status, or minus the signal.
  static int statusOf(pid_t pid);
  // The exit status of a service that cannot start.
  int statusOfStart() const { return statusOf(launch()); }
  void start(const std::function<void()>& prepare = {});
  void startReady(const std::function<void()>& prepare = {});
  void signal(int number) const;
  int wait();
  int end(int number = SIGTERM);

  pid_t pid() const { return m_pid; }
  // A port of 127.0.0.1 and ::1 that nobody has, and the one that was found last.
  int freePort();
  int lastPort() const { return m_port; }
  std::string file(const std::string& name) const { return m_folder.file(name); }
  const TempFolder& folder() const { return m_folder; }
  std::string policySocket() const { return file("policy"); }
  std::string log() const { return readFile(file("log")); }
  bool says(const std::string& text) const;
  std::string ask(const std::string& attributes) const;
  std::string askJohn() const;
  std::string http(const std::string& method, const std::string& path, const std::string& more = {}) const;
  // The number of connections that it reports.
  int connections() const;
  // One of its metrics, without what their names begin with; -1 without it.
  double metric(const std::string& name) const;
  void change(const std::string& sql) const;
  // Seconds of a processor that it has used.
  double processorSeconds() const;
  std::size_t descriptors() const;

 private:
  TempFolder m_folder;
  pid_t m_pid = -1;
  int m_port = 0;
};

}  // namespace zrtest
