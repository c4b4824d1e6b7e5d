#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <iterator>
#include <pwd.h>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/fake_server.h"
#include "common/odbc_entries.h"
#include "common/postgres_server.h"
#include "service/running_service.h"

namespace zrtest {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class LifeTest : public ServiceTest {
 protected:
  void expectNoSockets() const {
    for (const char* const name : {"policy", "map", "admin"})
      EXPECT_FALSE(std::filesystem::exists(file(name))) << name;
  }
  bool isGone(const std::string& name) const {
    return comesTrue([&] { return !std::filesystem::exists(file(name)); });
  }
};

TEST_F(LifeTest, ReadsSettingsAgainAndNamesThoseThatTakeARestart) {
  startReady();
  change("DELETE FROM policy_rule WHERE policy_id = 1");
  configure("no_match_action = WARN nothing\npoll = 7\nlisten = unix:" + file("elsewhere") +
            "\ndecision_log = " + file("decisions"));
  signal(SIGHUP);
  EXPECT_TRUE(comesTrue([this] { return ask("x=y") == "action=WARN nothing\n\n"; })) << log();
  EXPECT_TRUE(says("the settings were read again"));
  EXPECT_THAT(log(), AllOf(HasSubstr("[service] poll has changed, which takes a restart"),
                           HasSubstr("[service] listen has"), HasSubstr("[service] decision_log has"),
                           Not(HasSubstr("no_match_action has")), Not(HasSubstr("socketmap has"))));
  // They are told again as long as the service runs with others, and no longer.
  configure("poll = 7\n[questions]\nuser = recipient\n");
  signal(SIGHUP);
  EXPECT_TRUE(comesTrue([this] { return ask("recipient=john@example.org") == kJohns; })) << log();
  EXPECT_THAT(log().substr(log().find("read again")), AllOf(HasSubstr("poll has"), Not(HasSubstr("listen has"))));
}

TEST_F(LifeTest, AFileWithAnErrorChangesNothing) {
  configure("no_match_action = WARN nothing\n[questions]\ndefault = no\n");
  startReady();
  const std::pair<std::string, const char*> cases[] = {
      {"no_match_action = OK\nshadow = maybe\n", "shadow"},
      {"no_match_action = OK\nmax_connections = many\n", "max_connections"},
      {"no_match_action = OK\nlisten = tcp:1\n", "neither unix:PATH nor inet:ADDRESS:PORT"},
      {"no_match_action = OK\nfault_action = " + std::string(901, 'x') + "\n", "fault_action"},
      {"no_match_action = OK\nsocket_mode = rw\n", "socket_mode"}};
  std::size_t seen = log().size();
  for (const auto& [settings, named] : cases) {
    configure(settings);
    signal(SIGHUP);
    EXPECT_TRUE(comesTrue([&] { return log().find("the settings stay as they were", seen) != std::string::npos; }))
        << settings;
    EXPECT_THAT(log().substr(seen), HasSubstr(named));
    EXPECT_EQ(ask("x=y"), "action=WARN nothing\n\n") << settings;
    seen = log().size();
  }
  std::filesystem::remove(file("conf"));
  signal(SIGHUP);
  EXPECT_TRUE(comesTrue([&] { return log().find("stay as they were", seen) != std::string::npos; }));
  EXPECT_EQ(ask("x=y"), "action=WARN nothing\n\n");
}

// It stands still while the requests arrive, so that all of them are there when it learns that it is to end.
TEST_F(LifeTest, AnswersWhatHadArrivedWhenItWasToldToEnd) {
  for (const int number : {SIGTERM, SIGINT}) {
    startReady();
    const Client used(policySocket()), idle(policySocket()), half(policySocket()), map(file("map"));
    used.send(kAskJohn);
    EXPECT_EQ(used.receive("\n\n"), kJohns);
    signal(SIGSTOP);
    used.send(std::string(kAskJohn) + kAskJohn);
    half.send("request=x\nsasl_username=john@example.org\n");
    map.send("7:default,");
    const Client waiting(policySocket());  // not accepted yet
    waiting.send(kAskJohn);
    signal(number);
    signal(SIGCONT);
    EXPECT_EQ(used.receiveAll(), std::string(kJohns) + kJohns);
    EXPECT_EQ(waiting.receiveAll(), kJohns);
    EXPECT_EQ(map.receiveAll(), "8:OK DUNNO,");
    EXPECT_EQ(idle.receiveAll(), "");
    EXPECT_FALSE(Client(policySocket()).isOpen());
    half.send("\n");
    EXPECT_EQ(half.receiveAll(), kJohns);
    EXPECT_EQ(wait(), 0);
    expectNoSockets();
  }
}

TEST_F(LifeTest, WaitsForNobodyLongerThanItMay) {
  configure("shutdown_timeout = 1\nrequest_timeout = 3600\n");
  startReady();
  const Client half(policySocket()), greedy(policySocket());
  half.send("request=x\n");
  while (greedy.sendSome(kAskJohn) > 0) {
  }
  EXPECT_EQ(end(), 0);
  expectNoSockets();
}

TEST_F(LifeTest, ASecondSignalEndsAtOnce) {
  configure("shutdown_timeout = 3600\nrequest_timeout = 3600\n");
  for (const auto& [first, second] : {std::pair(SIGTERM, SIGTERM), {SIGINT, SIGTERM}, {SIGTERM, SIGINT}}) {
    startReady();
    const Client half(policySocket());
    half.send("request=x\n");
    half.waitUntilRead();
    signal(first);
    ASSERT_TRUE(isGone("policy"));
    signal(SIGHUP);  // is too late, and no harm
    EXPECT_EQ(end(second), -second);
    expectNoSockets();
  }
}

// A server that lets everybody in and then says nothing: the loader stands still for as long as read_timeout.
TEST_F(LifeTest, EndsWhileItLoadsFromASilentServer) {
  if (!PostgresServer::installed()) GTEST_SKIP() << "needs the driver of PostgreSQL";
  const FakeServer silent(FakeServer::kLetIn);
  OdbcEntries entries;
  entries.addPostgres("silent", silent.socketFolder(), "x");
  outputOf("chmod -R a+rX '" + silent.socketFolder() + "' '" + entries.folder().path().string() + "'; chmod a+w '" +
           silent.socketFolder() + "'/.s*");
  const auto useSilent = [this] {
    std::string text = readFile(file("conf"));
    text.replace(text.find("file = "), text.find('\n', text.find("file = ")) - text.find("file = "),
                 "dsn = silent\nread_timeout = 3600\nconnect_timeout = 3600");
    writeSettings(text);
  };
  useSilent();
  const int before = silent.answered();
  start();
  EXPECT_TRUE(comesTrue([&] { return silent.answered() > before; })) << log();
  EXPECT_EQ(askJohn(), kNotReady);
  EXPECT_EQ(end(), 0) << log();
  expectNoSockets();

  configure("shutdown_timeout = 3600\nrequest_timeout = 3600\n");
  useSilent();
  start();
  const Client half(policySocket());
  half.send("request=x\n");
  half.waitUntilRead();
  signal(SIGTERM);
  ASSERT_TRUE(isGone("policy"));
  EXPECT_EQ(end(), -SIGTERM);
  expectNoSockets();
}

TEST_F(LifeTest, WritesNothingButStateLogsAndSockets) {
  configure("decision_log = " + file("decisions"));
  startReady([this] { chdir(folder().path().c_str()); });
  EXPECT_EQ(askJohn(), kJohns);
  EXPECT_TRUE(comesTrue([this] { return std::filesystem::exists(file("state/last_good.state")); }));
  EXPECT_EQ(end(), 0);
  std::vector<std::string> names;
  for (const auto& each : std::filesystem::directory_iterator(folder().path()))
    names.push_back(each.path().filename());
  EXPECT_THAT(names, testing::UnorderedElementsAre("conf", "log", "policies.db", "state", "decisions"));
}

// What a process may do with itself, of all its threads.
class RootTest : public LifeTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "root alone can become another user";
  }
  // The numbers behind a name in the status of one of its threads, each once.
  static std::set<std::string> numbers(const std::string& status, const std::string& name) {
    const std::size_t at = status.find("\n" + name + ":") + name.size() + 2;
    std::istringstream words(status.substr(at, status.find('\n', at) - at));
    return {std::istream_iterator<std::string>(words), {}};
  }
};

TEST_F(RootTest, NeedsAUserAndTouchesNothingWithoutOne) {
  const std::pair<const char*, const char*> cases[] = {{"user =\n", "[service] user is not set"},
                                                       {"user = root\n", "root itself"},
                                                       {"user = no-such-user\n", "no user of this name"}};
  startReady();
  EXPECT_EQ(end(SIGKILL), -SIGKILL);
  for (const auto& [settings, named] : cases) {
    configure(settings);
    EXPECT_THAT(failure(), AllOf(testing::StartsWith("64 "), HasSubstr(named)));
    EXPECT_TRUE(std::filesystem::exists(policySocket()));  // that was left over
  }
}

TEST_F(RootTest, BecomesItsUserForGood) {
  const passwd* const user = getpwnam(kUser);
  const std::set<std::string> uid{std::to_string(user->pw_uid)}, gid{std::to_string(user->pw_gid)};
  const std::set<std::string> nothing{"0000000000000000"};
  configure("decision_log = " + file("decisions"));
  startReady();
  for (const auto& each : std::filesystem::directory_iterator("/proc/" + std::to_string(pid()) + "/task")) {
    const std::string status = readFile(each.path() / "status");
    for (const auto& [name, wanted] :
         {std::pair("Uid", uid), {"Gid", gid}, {"Groups", gid}, {"CapEff", nothing}, {"CapPrm", nothing}})
      EXPECT_EQ(numbers(status, name), wanted) << each.path() << name;
  }
  struct stat status {};
  ASSERT_EQ(stat(policySocket().c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, user->pw_uid);
  EXPECT_EQ(status.st_gid, user->pw_gid);
  EXPECT_EQ(askJohn(), kJohns);
  EXPECT_EQ(end(), 0);
  expectNoSockets();
  EXPECT_THAT(readFile(file("decisions")), HasSubstr("john@example.org"));
  EXPECT_TRUE(std::filesystem::exists(file("state/last_good.db")));
}

TEST_F(RootTest, ExaminesWithTheRightsOfItsUser) {
  const std::string check = ZR_DAEMON " --check --config '" + file("conf") + "' 2>&1 || true";
  configure("decision_log = " + file("logs/decisions"));
  EXPECT_THAT(outputOf(check), HasSubstr("[service] decision_log = "));
  std::filesystem::create_directory(file("logs"));
  for (const char* const name : {"logs", "state", "policies.db"}) {
    outputOf("chown root '" + file(name) + "'; chmod go-rwx '" + file(name) + "'");
    EXPECT_THAT(outputOf(check), AllOf(HasSubstr(name), HasSubstr("ermission"))) << name;
    configure("");  // and with all rights again
  }
  EXPECT_THAT(outputOf(check), HasSubstr("settings are fine"));
}

TEST_F(RootTest, SaysWhatItsUserCannotTakeAway) {
  std::filesystem::create_directory(file("roots"));
  configure("listen = unix:" + file("roots/policy") + " unix:" + policySocket());
  outputOf("chown root '" + file("roots") + "'; chmod 755 '" + file("roots") + "'");
  startReady();
  EXPECT_THAT(log(), HasSubstr("roots/policy cannot be taken away"));
  EXPECT_EQ(end(), 0);
  startReady();  // in whose place the next one comes
  EXPECT_EQ(end(), 0);
}

}  // namespace
}  // namespace zrtest
