#include "service/running_service.h"

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <linux/sockios.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "common/postgres_server.h"
#include "host/database/PolicyDatabase.h"
#include "support/PolicyLog.h"

namespace zrtest {
namespace {

constexpr unsigned kLongestLife = 280;  // seconds; a daemon outlives no test that was killed by much

}  // namespace

bool comesTrue(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 3000; ++tries) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

Client::Client(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  connectTo(reinterpret_cast<sockaddr*>(&address), sizeof address);
}

Client::Client(int port, bool isIpv6) {
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  six.sin6_port = htons(static_cast<std::uint16_t>(port));
  six.sin6_addr = in6addr_loopback;
  sockaddr_in four{};
  four.sin_family = AF_INET;
  four.sin_port = six.sin6_port;
  four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  isIpv6 ? connectTo(reinterpret_cast<sockaddr*>(&six), sizeof six)
         : connectTo(reinterpret_cast<sockaddr*>(&four), sizeof four);
}

void Client::connectTo(const sockaddr* address, unsigned size) {
  m_socket = socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const timeval limit{60, 0};
  setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  m_isOpen = connect(m_socket, address, size) == 0;
}

Client::~Client() {
  if (m_socket >= 0) close(m_socket);
}

Client::Client(Client&& other) noexcept : m_socket(std::exchange(other.m_socket, -1)), m_isOpen(other.m_isOpen) {}

bool Client::send(const std::string& text) const {
  std::size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t count = ::send(m_socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

std::size_t Client::sendSome(const std::string& text) const {
  const ssize_t count = ::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void Client::endSending() const {
  shutdown(m_socket, SHUT_WR);
}

void Client::waitUntilRead() const {
  EXPECT_TRUE(comesTrue([this] {
    for (int tries = 0, left = 1; tries < 10'000; ++tries) {
      if (ioctl(m_socket, SIOCOUTQ, &left) != 0 || left == 0) return true;
      std::this_thread::yield();
    }
    return false;
  }));
}

std::string Client::receive(const std::string& end) const {
  std::string text;
  for (char byte = 0; !text.ends_with(end) && recv(m_socket, &byte, 1, 0) == 1;)
    text += byte;
  return text;
}

std::string Client::receiveAll() const {
  std::string text;
  char bytes[4096];
  for (ssize_t count = 0; (count = recv(m_socket, bytes, sizeof bytes, 0)) != 0;) {
    if (count < 0) return errno == ECONNRESET || errno == EPIPE ? text : text + "<silence>";
    text.append(bytes, static_cast<std::size_t>(count));
  }
  return text;
}

ServiceTest::ServiceTest() {
  PolicyLog::ms_level = PolicyLog::LEVEL_ERROR;
  zrhost::DatabaseOptions database;
  database.file = file("policies.db");
  database.sqlDirectory = ZR_TEST_SCHEMA;
  zrhost::PolicyDatabase::init(database, {.sample = true, .force = false});
  std::filesystem::create_directory(file("state"));
  configure("");
}

ServiceTest::~ServiceTest() {
  if (m_pid <= 0) return;
  signal(SIGKILL);
  wait();
}

void ServiceTest::configure(const std::string& more) const {
  const std::string ofService = "\n" + more.substr(0, more.find("[questions]"));
  const auto unlessGiven = [&ofService](const std::string& name, const std::string& value) {
    return ofService.find("\n" + name + " =") == std::string::npos ? name + " = " + value + "\n" : std::string();
  };
  writeSettings("[database]\nfile = " + file("policies.db") +
                "\n[sql]\ndirectory = " ZR_TEST_SCHEMA "\n[admin]\nlisten = unix:" + file("admin") + "\n[service]\n" +
                unlessGiven("listen", "unix:" + policySocket()) + unlessGiven("socketmap", "unix:" + file("map")) +
                unlessGiven("state_folder", file("state")) + (geteuid() == 0 ? unlessGiven("user", kUser) : "") + more +
                "\n");
}

void ServiceTest::writeSettings(const std::string& text) const {
  m_folder.write("conf", text);
  if (geteuid() == 0) outputOf("chown -R " + std::string(kUser) + " '" + m_folder.path().string() + "'");
}

pid_t ServiceTest::launch(const std::function<void()>& prepare) const {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  alarm(kLongestLife);
  dup2(open(file("log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDERR_FILENO);
  if (prepare) prepare();
  execl(ZR_DAEMON, ZR_DAEMON, "--config", file("conf").c_str(), nullptr);
  _exit(127);
}

int ServiceTest::statusOf(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void ServiceTest::start(const std::function<void()>& prepare) {
  m_pid = launch(prepare);
  ASSERT_TRUE(comesTrue([this] { return Client(file("admin")).isOpen(); })) << log();
}

void ServiceTest::startReady(const std::function<void()>& prepare) {
  start(prepare);
  ASSERT_TRUE(comesTrue([this] { return http("GET", "/health/ready").find("200 OK") != std::string::npos; })) << log();
}

void ServiceTest::signal(int number) const {
  kill(m_pid, number);
}

int ServiceTest::wait() {
  return statusOf(std::exchange(m_pid, -1));
}

int ServiceTest::end(int number) {
  signal(number);
  return wait();
}

int ServiceTest::freePort() {
  const int probe = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);  // of both families
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  socklen_t size = sizeof address;
  EXPECT_EQ(bind(probe, reinterpret_cast<sockaddr*>(&address), size), 0);
  EXPECT_EQ(getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size), 0);
  close(probe);
  return m_port = ntohs(address.sin6_port);
}

bool ServiceTest::says(const std::string& text) const {
  return comesTrue([&] { return log().find(text) != std::string::npos; });
}

std::string ServiceTest::ask(const std::string& attributes) const {
  const Client client(policySocket());
  client.send("request=smtpd_access_policy\n" + attributes + "\n\n");
  return client.receive("\n\n");
}

std::string ServiceTest::askJohn() const {
  return ask("sasl_username=john@example.org");
}

std::string ServiceTest::http(const std::string& method, const std::string& path, const std::string& more) const {
  const Client client(file("admin"));
  client.send(method + " " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" + more + "\r\n");
  return client.receiveAll();
}

int ServiceTest::connections() const {
  constexpr std::string_view kMember = "\"connections\": ";
  const std::string text = http("GET", "/status");
  const std::size_t at = text.find(kMember);
  return at == std::string::npos ? -1 : std::stoi(text.substr(at + kMember.size()));
}

double ServiceTest::metric(const std::string& name) const {
  const std::string text = http("GET", "/metrics"), line = "\nzrpolicyd_" + name + " ";
  const std::size_t at = text.find(line);
  return at == std::string::npos ? -1 : std::stod(text.substr(at + line.size()));
}

void ServiceTest::change(const std::string& sql) const {
  outputOf("sqlite3 '" + file("policies.db") + "' \"" + sql + "\"");
}

double ServiceTest::processorSeconds() const {
  const std::string text = readFile("/proc/" + std::to_string(m_pid) + "/stat");
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string skipped;
  for (int i = 0; i < 11; ++i)
    fields >> skipped;
  double user = 0, system = 0;
  fields >> user >> system;
  return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::size_t ServiceTest::descriptors() const {
  std::size_t count = 0;
  for (const auto& each : std::filesystem::directory_iterator("/proc/" + std::to_string(m_pid) + "/fd"))
    count += each.path().empty() ? 0 : 1;
  return count;
}

}  // namespace zrtest
