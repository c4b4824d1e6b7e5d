#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

#include "common/postgres_server.h"
#include "service/running_service.h"

namespace zrtest {
namespace {

using testing::HasSubstr;

TEST_F(ServiceTest, AnswersBothProtocolsAndFollowsTheDatabase) {
  startReady();
  const Client client(policySocket());
  client.send(
      "request=smtpd_access_policy\nsasl_username=john@example.org\n\nrequest=smtpd_access_policy\n\nrequest=half");
  EXPECT_EQ(client.receive("DUNNO\n\n"), kJohns + std::string("action=DUNNO\n\n"));
  const Client map(file("map"));
  map.send("21:user john@example.org,9:user none,11:address ::1,3:x y,");
  EXPECT_THAT(map.receive("default,"),
              testing::StartsWith("26:OK BCC archive@example.org,9:NOTFOUND ,9:NOTFOUND ,66:PERM "));

  change("UPDATE policy_rule SET action = 'REJECT no' WHERE policy_id = 20");
  EXPECT_TRUE(comesTrue([this] { return askJohn() == "action=REJECT no\n\n"; }));
  for (const char* const faulty : {"''", "'  '", "', ,'", "'OK' || char(10) || 'x'", "printf('%901d', 1)"}) {
    change(std::string("UPDATE policy_rule SET action = ") + faulty + " WHERE policy_id = 20");
    EXPECT_TRUE(comesTrue([this] { return askJohn() == "action=DEFER_IF_PERMIT 4.3.5 policy data error\n\n"; }))
        << faulty;
    change("UPDATE policy_rule SET action = 'REJECT no' WHERE policy_id = 20");
    EXPECT_TRUE(comesTrue([this] { return askJohn() == "action=REJECT no\n\n"; }));
  }
}

TEST_F(ServiceTest, WithoutPoliciesNothingIsAccepted) {
  std::filesystem::remove(file("policies.db"));
  start();
  EXPECT_EQ(askJohn(), "action=DEFER_IF_PERMIT 4.3.5 policy service is not ready\n\n");
  EXPECT_THAT(http("GET", "/health/ready"), HasSubstr(" 503 "));
}

TEST_F(ServiceTest, LogsItsDecisions) {
  configure("decision_log = " + file("decisions"));
  startReady();
  ask("queue_id=4ABC\nsasl_username=john@example.org");
  end();
  EXPECT_THAT(readFile(file("decisions")),
              testing::AllOf(HasSubstr("\"queue_id\":\"4ABC\""), testing::EndsWith("}\n")));
}

TEST_F(ServiceTest, WaitsForNobodyWhoReadsTheLog) {
  change("UPDATE policy_rule SET action = '' WHERE policy_id = 1");
  startReady([] {  // into a pipe that is full
    int ends[2];
    if (pipe2(ends, O_NONBLOCK) != 0) _exit(126);
    while (write(ends[1], "x", 1) == 1) {
    }
    fcntl(ends[1], F_SETFL, 0);
    dup2(ends[1], STDERR_FILENO);
  });
  EXPECT_EQ(ask("x=y"), "action=DEFER_IF_PERMIT 4.3.5 policy data error\n\n");
  signal(SIGHUP);
  change("DELETE FROM ep_link");  // which is held back, and said
  EXPECT_TRUE(comesTrue([this] { return http("GET", "/status").find("are left") != std::string::npos; }));
  EXPECT_EQ(end(), 0);
}

TEST_F(ServiceTest, ExaminesSettingsByTheirLines) {
  configure("listen = ,\nsocketmap = ,\npoll 2\nno_match_action = OK # or not\n[questions]\nuser = sender\nusr = x");
  EXPECT_THAT(outputOf(ZR_DAEMON " --check --config '" + file("conf") + "' 2>&1"),
              testing::AllOf(testing::ContainsRegex("conf:[0-9]+: the line is dropped"),
                             HasSubstr(": [service] no_match_action holds the #"), HasSubstr("unknown setting \"usr\""),
                             HasSubstr("user takes sender"), HasSubstr("nobody could ask"),
                             HasSubstr("settings are fine; the database has revision")));
}

}  // namespace
}  // namespace zrtest
