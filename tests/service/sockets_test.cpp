#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "service/running_service.h"

namespace zrtest {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

using SocketsTest = ServiceTest;
using zrhost::FileDescriptor;

// A socket that is bound to a path; a name that begins with '@' stands in no folder.
FileDescriptor boundSocket(const std::string& path, int type) {
  FileDescriptor bound(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (path[0] == '@') address.sun_path[0] = '\0';
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
  EXPECT_EQ(bind(bound.get(), reinterpret_cast<sockaddr*>(&address), size), 0) << path;
  if (path[0] != '@') chmod(path.c_str(), 0777);
  const timeval limit{60, 0};
  setsockopt(bound.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  return bound;
}

std::string datagram(const FileDescriptor& from) {
  char bytes[1024];
  const ssize_t count = recv(from.get(), bytes, sizeof bytes, 0);
  return {bytes, bytes + std::max<ssize_t>(count, 0)};
}

TEST_F(SocketsTest, TakesOnlyPlacesThatNobodyHas) {
  startReady();
  EXPECT_THAT(failure(), AllOf(StartsWith("69 "), HasSubstr("another program does already")));
  EXPECT_EQ(askJohn(), kJohns);
  EXPECT_EQ(end(SIGKILL), -SIGKILL);
  ASSERT_TRUE(std::filesystem::exists(policySocket()));
  startReady();
  EXPECT_EQ(askJohn(), kJohns);
  EXPECT_EQ(end(), 0);

  folder().write("policy", "precious");
  EXPECT_THAT(failure(), AllOf(StartsWith("74 "), HasSubstr("a file that is no socket is there")));
  EXPECT_EQ(readFile(policySocket()), "precious");
  std::filesystem::rename(policySocket(), file("elsewhere"));
  std::filesystem::create_symlink(file("elsewhere"), policySocket());
  EXPECT_THAT(failure(), StartsWith("74 "));
  EXPECT_TRUE(std::filesystem::is_symlink(policySocket()));
  std::filesystem::remove(policySocket());
  std::filesystem::create_directory(policySocket());
  EXPECT_THAT(failure(), StartsWith("74 "));
}

TEST_F(SocketsTest, OfTwoThatStartAtOneMomentOneServes) {
  startReady();
  EXPECT_EQ(end(SIGKILL), -SIGKILL);
  for (int round = 0; round < 15; ++round) {  // each time on what the one before left
    const pid_t pids[] = {launch(), launch()};
    int status = 0;
    const pid_t loser = waitpid(-1, &status, 0), winner = pids[0] == loser ? pids[1] : pids[0];
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 69) << status << log();
    EXPECT_TRUE(comesTrue([this] { return askJohn() == kJohns; })) << log();
    kill(winner, SIGKILL);
    EXPECT_EQ(statusOf(winner), -SIGKILL);
  }
}

TEST_F(SocketsTest, LeavesTheSocketOfItsSuccessor) {
  startReady();
  for (const char* const name : {"policy", "map", "admin"})
    std::filesystem::remove(file(name));
  std::filesystem::create_directory(file("state2"));
  configure("state_folder = " + file("state2"));
  const pid_t successor = launch();
  EXPECT_TRUE(comesTrue([this] { return askJohn() == kJohns; })) << log();
  EXPECT_EQ(end(), 0);
  EXPECT_EQ(askJohn(), kJohns);
  kill(successor, SIGTERM);
  EXPECT_EQ(statusOf(successor), 0);
  EXPECT_FALSE(std::filesystem::exists(policySocket()));
}

TEST_F(SocketsTest, HaveTheModeAndGroupOfTheSettings) {
  const group* const wanted = geteuid() == 0 ? getgrnam("daemon") : getgrgid(getegid());
  configure(std::string("socket_mode = 0620\nsocket_group = ") + wanted->gr_name);
  startReady();
  for (const char* const name : {"policy", "map", "admin"}) {
    struct stat status {};
    ASSERT_EQ(stat(file(name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0620U) << name;
    EXPECT_EQ(status.st_gid, wanted->gr_gid) << name;
  }
  EXPECT_EQ(end(), 0);
  configure("socket_group = daemon");
  EXPECT_THAT(failure([] { prctl(PR_CAPBSET_DROP, CAP_CHOWN); }),
              AllOf(StartsWith("64 "), HasSubstr("not in this group")));
}

TEST_F(SocketsTest, ListenOnPortsOfTheLoopback) {
  const std::string port = std::to_string(freePort());
  configure("listen = inet:127.0.0.1:" + port + ", inet:[::1]:" + port + "\tunix:" + policySocket());
  startReady();
  for (const bool isIpv6 : {false, true}) {
    const Client client(lastPort(), isIpv6);
    client.send(kAskJohn);
    EXPECT_EQ(client.receive("\n\n"), kJohns) << isIpv6;
  }
  EXPECT_THAT(failure(), AllOf(StartsWith("69 "), HasSubstr("inet:127.0.0.1:" + port)));
}

TEST_F(SocketsTest, RefuseSettingsThatCannotBeListenedOn) {
  const std::string noGroup = "socket_group = no-such-group\n";
  const struct {
    std::string settings;
    const char *status, *named;
  } cases[] = {
      {"listen = inet:0.0.0.0:10040\n", "64 ", "allow_remote = yes"},
      {"listen = inet:[::]:10040\n", "64 ", "allow_remote = yes"},
      {"[questions]\n[admin]\nlisten = inet:0.0.0.0:10040\n", "64 ", "in [service] alone"},
      {"socketmap = inet:192.0.2.1:10040\n", "64 ", "[service] socketmap"},
      {"allow_remote = yes\nlisten = inet:192.0.2.1:10040\n", "74 ", "cannot listen on inet:192.0.2.1:10040"},
      {"listen = inet:localhost:10040\n", "64 ", "not an address"},
      {"listen = inet:127.0.0.1:65536\n", "64 ", "the port is no number from 1 to 65535"},
      {"listen = inet:127.0.0.1:0\n", "64 ", "the port is no number from 1 to 65535"},
      {"listen = inet:127.0.0.1\n", "64 ", "neither unix:PATH nor inet:ADDRESS:PORT"},
      {"listen = unix:\n", "64 ", "neither unix:PATH nor inet:ADDRESS:PORT"},
      {"listen = unix:/" + std::string(108, 'x') + "\n", "64 ", "\": the path of a socket ends at 107 bytes"},
      {"listen = unix:" + file("none/policy") + "\n", "74 ", "No such file or directory"},
      {"listen = ,\nsocketmap = ,\n", "64 ", "nobody could ask"},
      {"socket_mode = 0888\n", "64 ", "not an octal number"},
      {noGroup, "64 ", "no group of this name"},
  };
  for (const auto& each : cases) {
    configure(each.settings);
    EXPECT_THAT(failure(), AllOf(StartsWith(each.status), HasSubstr(each.named))) << each.settings;
    for (const char* const name : {"policy", "map", "admin"})
      EXPECT_FALSE(std::filesystem::exists(file(name))) << each.settings << name;
  }
  configure("allow_remote = yes\nlisten = inet:0.0.0.0:" + std::to_string(freePort()));
  startReady();
  const Client client(lastPort());
  client.send(kAskJohn);
  EXPECT_EQ(client.receive("\n\n"), kJohns);
}

// As systemd does: descriptors from 3 on, and what they are for in the environment.
std::function<void()> handOver(const std::vector<int>& sockets, const std::string& names, bool toItself = true) {
  return [=] {
    for (std::size_t i = 0; i < sockets.size(); ++i)
      fcntl(sockets[i], F_DUPFD, 100);
    for (std::size_t i = 0; i < sockets.size(); ++i)
      dup2(100 + static_cast<int>(i), 3 + static_cast<int>(i));
    setenv("LISTEN_FDS", std::to_string(sockets.size()).c_str(), 1);
    setenv("LISTEN_FDNAMES", names.c_str(), 1);
    setenv("LISTEN_PID", std::to_string(toItself ? getpid() : getppid()).c_str(), 1);
  };
}

TEST_F(SocketsTest, AreTakenFromTheServiceManager) {
  const FileDescriptor policy = boundSocket(file("p"), SOCK_STREAM), map = boundSocket(file("m"), SOCK_STREAM),
                       admin = boundSocket(file("a"), SOCK_STREAM);
  for (const FileDescriptor* const each : {&policy, &map, &admin})
    ASSERT_EQ(listen(each->get(), 8), 0);
  const Client early(file("p"));  // from before there was a service
  early.send(kAskJohn);
  const pid_t pid = launch(handOver({policy.get(), map.get(), admin.get()}, "policy:socketmap:admin"));
  EXPECT_EQ(early.receive("\n\n"), kJohns);  // not that there are no policies yet
  const Client lookup(file("m")), status(file("a"));
  lookup.send("3:x y,");
  EXPECT_EQ(lookup.receive("PERM"), "66:PERM");
  status.send("GET /health/live HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
  EXPECT_THAT(status.receiveAll(), HasSubstr("200 OK"));
  EXPECT_FALSE(std::filesystem::exists(policySocket()));
  kill(pid, SIGTERM);
  EXPECT_EQ(statusOf(pid), 0);
  EXPECT_TRUE(std::filesystem::exists(file("p")));  // is not the service's own
  const Client next(file("p"));                     // waits for the next service
  EXPECT_TRUE(next.isOpen());

  start(handOver({policy.get()}, "policy", false));  // meant for another process
  EXPECT_TRUE(comesTrue([this] { return askJohn() == kJohns; }));
}

TEST_F(SocketsTest, OfTheServiceManagerMustBeWhatTheyAreNamed) {
  const FileDescriptor good = boundSocket(file("p"), SOCK_STREAM), datagrams = boundSocket(file("d"), SOCK_DGRAM),
                       deaf = boundSocket(file("q"), SOCK_STREAM);
  ASSERT_EQ(listen(good.get(), 8), 0);
  EXPECT_THAT(failure(handOver({good.get()}, "milter")), AllOf(StartsWith("64 "), HasSubstr("'milter'")));
  for (const FileDescriptor* const each : {&datagrams, &deaf})
    EXPECT_THAT(failure(handOver({each->get()}, "policy")), AllOf(StartsWith("64 "), HasSubstr("no stream socket")));
}

TEST_F(SocketsTest, TellTheServiceManagerHowTheServiceStands) {
  for (const std::string& name : {file("notify"), "@zrpolicy-test-" + std::to_string(getpid())}) {
    const FileDescriptor manager = boundSocket(name, SOCK_DGRAM);
    startReady([&] { setenv("NOTIFY_SOCKET", name.c_str(), 1); });
    EXPECT_EQ(datagram(manager), "READY=1");
    signal(SIGHUP);
    EXPECT_THAT(datagram(manager), StartsWith("RELOADING=1\nMONOTONIC_USEC="));
    EXPECT_EQ(datagram(manager), "READY=1");
    EXPECT_EQ(end(), 0);
    EXPECT_EQ(datagram(manager), "STOPPING=1");
  }
}

}  // namespace
}  // namespace zrtest
