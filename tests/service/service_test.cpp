#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "common/postgres_server.h"
#include "common/temp_folder.h"
#include "host/database/PolicyDatabase.h"

namespace zrtest {
namespace {

using testing::HasSubstr;

bool comesTrue(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 3000; ++tries) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

// A connection to a Unix socket.
class Client {
 public:
  explicit Client(const std::string& path) : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    m_isOpen = connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    const timeval limit{20, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }
  ~Client() { close(m_socket); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  bool isOpen() const { return m_isOpen; }
  void send(const std::string& text) const { ::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL); }
  // What comes up to and with that end; less when the connection ends before.
  std::string receive(const std::string& end) const {
    std::string text;
    for (char byte = 0; !text.ends_with(end) && recv(m_socket, &byte, 1, 0) == 1;)
      text += byte;
    return text;
  }
  bool hasEnded() const {
    char byte = 0;
    return recv(m_socket, &byte, 1, 0) <= 0;
  }

 private:
  int m_socket;
  bool m_isOpen;
};

// The daemon as a process of its own, with a folder for all that it has.
class ServiceTest : public testing::Test {
 protected:
  ServiceTest() {
    zrhost::DatabaseOptions database;
    database.file = m_folder.file("policies.db");
    database.sqlDirectory = ZR_TEST_SCHEMA;
    zrhost::PolicyDatabase::init(database, {.sample = true, .force = false});
    configure("");
  }
  ~ServiceTest() override {
    if (m_pid <= 0) return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }

  void configure(const std::string& more) {
    std::string text = "[database]\nfile = " + m_folder.file("policies.db") + "\nsql = " ZR_TEST_SCHEMA +
                       "\n[service]\nlisten = unix:" + policySocket() + "\nsocketmap = unix:" + m_folder.file("map") +
                       "\nstate_folder = " + m_folder.path().string() + "\n";
    if (geteuid() == 0) text += "user = nobody\n";
    m_folder.write("conf", text + more + "\n[admin]\nlisten = unix:" + m_folder.file("admin") + "\n");
    if (geteuid() == 0) outputOf("chown -R nobody " + m_folder.path().string());
  }
  pid_t launch() const {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    dup2(open(m_folder.file("log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
    execl(ZR_DAEMON, ZR_DAEMON, "--config", m_folder.file("conf").c_str(), nullptr);
    _exit(127);
  }
  static int statusOf(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  void start() {
    m_pid = launch();
    ASSERT_TRUE(comesTrue([this] { return Client(policySocket()).isOpen(); })) << log();
  }
  void startReady() {
    start();
    ASSERT_TRUE(comesTrue([this] { return http("GET", "/health/ready").find("200 OK") != std::string::npos; }))
        << log();
  }
  int end(int signal = SIGTERM) {
    kill(m_pid, signal);
    const int status = statusOf(m_pid);
    m_pid = -1;
    return status;
  }

  std::string policySocket() const { return m_folder.file("policy"); }
  std::string log() const { return readFile(m_folder.file("log")); }
  std::string ask(const std::string& attributes) const {
    const Client client(policySocket());
    client.send("request=smtpd_access_policy\n" + attributes + "\n\n");
    return client.receive("\n\n");
  }
  std::string askJohn() const { return ask("sasl_username=john@example.org"); }
  std::string http(const std::string& method, const std::string& path, const std::string& more = {}) const {
    const Client client(m_folder.file("admin"));
    client.send(method + " " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" + more + "\r\n");
    return client.receive("no such end");
  }
  void change(const std::string& sql) const {
    outputOf("sqlite3 '" + m_folder.file("policies.db") + "' \"" + sql + "\"");
  }

  TempFolder m_folder;
  pid_t m_pid = -1;
};

constexpr char kJohns[] = "action=BCC archive@example.org\n\n";

TEST_F(ServiceTest, AnswersBothProtocolsAndFollowsTheDatabase) {
  startReady();
  const Client client(policySocket());
  client.send(
      "request=smtpd_access_policy\nsasl_username=john@example.org\n\nrequest=smtpd_access_policy\n\nrequest=half");
  EXPECT_EQ(client.receive("DUNNO\n\n"), kJohns + std::string("action=DUNNO\n\n"));
  const Client map(m_folder.file("map"));
  map.send("21:user john@example.org,9:user none,11:address ::1,3:x y,");
  EXPECT_THAT(map.receive("default,"),
              testing::StartsWith("26:OK BCC archive@example.org,9:NOTFOUND ,9:NOTFOUND ,66:PERM "));

  change("UPDATE policy_rule SET action = 'REJECT no' WHERE policy_id = 20");
  EXPECT_TRUE(comesTrue([this] { return askJohn() == "action=REJECT no\n\n"; }));
  for (const char* const faulty : {"''", "'  '", "'OK' || char(10) || 'x'", "printf('%901d', 1)"}) {
    change(std::string("UPDATE policy_rule SET action = ") + faulty + " WHERE policy_id = 20");
    EXPECT_TRUE(comesTrue([this] { return askJohn() == "action=DEFER_IF_PERMIT 4.3.5 policy data error\n\n"; }))
        << faulty;
    change("UPDATE policy_rule SET action = 'REJECT no' WHERE policy_id = 20");
    EXPECT_TRUE(comesTrue([this] { return askJohn() == "action=REJECT no\n\n"; }));
  }
  EXPECT_THAT(http("GET", "/status"), HasSubstr("\"state\": \"ready\""));
  EXPECT_THAT(http("GET", "/metrics"), testing::EndsWith("# EOF\n"));
  EXPECT_THAT(http("POST", "/reload"), HasSubstr("\"result\":\"loaded\""));
  EXPECT_THAT(http("GET", "/reload"), HasSubstr(" 405 "));
  EXPECT_THAT(http("GET", "/status", "Origin: http://localhost\r\n"), HasSubstr(" 403 "));
}

TEST_F(ServiceTest, WithoutPoliciesNothingIsAccepted) {
  std::filesystem::remove(m_folder.file("policies.db"));
  start();
  EXPECT_EQ(askJohn(), "action=DEFER_IF_PERMIT 4.3.5 policy service is not ready\n\n");
  EXPECT_THAT(http("GET", "/health/ready"), HasSubstr(" 503 "));
}

TEST_F(ServiceTest, ClosesAfterWhatIsNoRequestAndServesOthersOn) {
  startReady();
  for (const std::string& garbage :
       {std::string("GET / HTTP/1.1\r\n\r\n"), std::string(70000, 'x'), std::string("\n")}) {
    const Client client(policySocket());
    client.send(garbage);
    EXPECT_EQ(client.receive("\n\n"), "action=DEFER_IF_PERMIT 4.3.5 policy service is not ready\n\n");
    EXPECT_TRUE(client.hasEnded());
  }
  {
    const Client client(policySocket()), half(policySocket());
    half.send("request=x");
  }
  EXPECT_EQ(askJohn(), kJohns);
}

TEST_F(ServiceTest, TellsTooManyAndEndsTheSlow) {
  configure("max_connections = 2\nrequest_timeout = 1\nidle_timeout = 600\n");
  startReady();
  const Client first(policySocket()), second(policySocket());
  first.send("request=x\n\n");
  second.send("request=x\n\n");
  first.receive("\n\n");
  second.receive("\n\n");
  EXPECT_EQ(askJohn(), "action=DEFER_IF_PERMIT 4.3.5 policy service is not ready\n\n");
  first.send("request=half");
  EXPECT_TRUE(first.hasEnded());
  EXPECT_TRUE(comesTrue([this] { return askJohn() == kJohns; }));
}

TEST_F(ServiceTest, ReadsSettingsAgainAndKeepsThemWhenTheyAreBad) {
  startReady();
  configure("no_match_action = WARN nothing\npoll = 7\ndecision_log = " + m_folder.file("decisions"));
  kill(m_pid, SIGHUP);
  change("DELETE FROM policy_rule WHERE policy_id = 1");
  EXPECT_TRUE(comesTrue([this] { return ask("x=y") == "action=WARN nothing\n\n"; })) << log();
  EXPECT_THAT(log(), testing::AllOf(HasSubstr("poll has changed"), HasSubstr("decision_log has changed")));
  configure("no_match_action = OK\nshadow = maybe");
  kill(m_pid, SIGHUP);
  EXPECT_TRUE(comesTrue([this] { return log().find("the settings stay as they were") != std::string::npos; }));
  EXPECT_THAT(log(), HasSubstr("conf:"));
  EXPECT_EQ(ask("x=y"), "action=WARN nothing\n\n");
}

TEST_F(ServiceTest, AnswersWhatWasAskedBeforeItsEndAndLeavesNoSocket) {
  startReady();
  const Client idle(policySocket()), half(policySocket());
  half.send("request=x\nsasl_username=john@example.org\n");
  const Client whole(policySocket());
  whole.send("sasl_username=john@example.org\n\n");
  kill(m_pid, SIGTERM);
  EXPECT_EQ(whole.receive("\n\n"), kJohns);
  EXPECT_TRUE(idle.hasEnded());
  half.send("\n");
  EXPECT_EQ(half.receive("\n\n"), kJohns);
  EXPECT_EQ(end(0), 0);
  for (const char* const name : {"policy", "map", "admin"})
    EXPECT_FALSE(std::filesystem::exists(m_folder.file(name))) << name;
}

TEST_F(ServiceTest, EndsAtOnceWhenItIsToldTwice) {
  startReady();
  const Client half(policySocket());
  half.send("request=x");
  kill(m_pid, SIGTERM);
  ASSERT_TRUE(comesTrue([this] { return !std::filesystem::exists(policySocket()); }));
  EXPECT_EQ(end(), 0);
}

TEST_F(ServiceTest, TakesOnlyPlacesThatNobodyHas) {
  startReady();
  EXPECT_EQ(statusOf(launch()), 69);
  EXPECT_EQ(askJohn(), kJohns);
  EXPECT_EQ(end(SIGKILL), -SIGKILL);
  ASSERT_TRUE(std::filesystem::exists(policySocket()));
  startReady();
  EXPECT_EQ(end(), 0);
  m_folder.write("policy", "precious");
  EXPECT_NE(statusOf(launch()), 0);
  EXPECT_EQ(readFile(policySocket()), "precious");
}

TEST_F(ServiceTest, LogsDecisionsWithoutTheNamesThatAreToBeHidden) {
  m_folder.write("key", std::string(32, 'k'));
  configure("decision_log = " + m_folder.file("decisions") +
            "\nredact = recipient\nredact_key_file = " + m_folder.file("key") + "\n[questions]\nuser = recipient");
  startReady();
  ask("queue_id=4ABC\nrecipient=John+x@example.org.");
  end();
  const std::string line = readFile(m_folder.file("decisions"));
  EXPECT_THAT(
      line, testing::AllOf(HasSubstr("\"queue_id\":\"4ABC\""), HasSubstr("\"policy_id\":20"), testing::EndsWith("}\n"),
                           testing::Not(HasSubstr("john@")), testing::Not(HasSubstr("John"))));
}

}  // namespace
}  // namespace zrtest
