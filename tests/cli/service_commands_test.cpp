#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cli/command.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using Words = std::vector<std::string>;

// A service on the sample site, which the commands find by its settings. Root has another user run it.
class ServiceCommands : public testing::Test {
 protected:
  ServiceCommands() {
    runCommand({"init", "--sample", "--database", m_database});
    std::filesystem::create_directory(m_folder.file("state"));
    m_folder.write("zrpolicy.conf",
                   "[database]\nfile = " + m_database + "\n[admin]\nlisten = unix:" + m_folder.file("admin.sock") +
                       "\n[service]\nlisten = unix:" + m_folder.file("policy.sock") +
                       "\nstate_folder = " + m_folder.file("state") + (geteuid() == 0 ? "\nuser = nobody\n" : "\n"));
    if (geteuid() == 0) giveAway();
    m_pid = fork();
    if (m_pid == 0) {
      execl(ZR_SERVICE, "zrpolicyd", "--config", m_config.c_str(), nullptr);
      _exit(127);
    }
    for (int tries = 0; tries < 500 && run({"status"}).status != 0; ++tries)
      usleep(20'000);
  }
  ~ServiceCommands() override {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
  void giveAway() const {
    const passwd* const nobody = getpwnam("nobody");
    (void)!chown(m_folder.path().c_str(), nobody->pw_uid, nobody->pw_gid);
    for (const auto& each : std::filesystem::recursive_directory_iterator(m_folder.path()))
      (void)!chown(each.path().c_str(), nobody->pw_uid, nobody->pw_gid);
  }
  CommandResult run(Words words, const std::string& input = "") const {
    words.insert(words.end(), {"--config", m_config});
    return runCommand(words, {input, {}, "", {}});
  }

  TempFolder m_folder;
  std::string m_database = m_folder.file("policy.db"), m_config = m_folder.file("zrpolicy.conf");
  pid_t m_pid = -1;
};

TEST_F(ServiceCommands, AskWhatTheServiceThinks) {
  for (const Words& extra : {Words{}, {"--json"}, {"--top", "--json"}, {"--wide"}, {"--with-groups"}}) {
    Words ask{"ask", "--ip", "10.0.0.7", "--user", "john@example.org", "--default"}, lookup;
    ask.insert(ask.end(), extra.begin(), extra.end());
    lookup = ask;
    lookup[0] = "lookup";
    EXPECT_EQ(run(ask).out, run(lookup).out);
  }
  EXPECT_EQ(run({"ask", "--user", "nobody"}).status, 1);
  EXPECT_EQ(run({"ask", "--stdin"}, "all\nnonsense\n").status, 65);
  EXPECT_THAT(run({"ask", "--default", "--explain"}).out, HasSubstr(R"("outcome":"counts")"));
  EXPECT_EQ(json::parse(run({"status", "--json"}).out)["state"], "ready");
}

TEST_F(ServiceCommands, AcceptWhatIsHeldBack) {
  EXPECT_EQ(run({"reload"}).status, 0);
  runSql(m_database, {"DELETE FROM ep_link"});
  const CommandResult held = run({"reload"});
  EXPECT_EQ(held.status, 1);
  EXPECT_THAT(held.err, HasSubstr("held back"));
  EXPECT_EQ(run({"ask", "--user", "john@example.org"}).status, 0);
  EXPECT_EQ(run({"reload", "--accept"}).status, 0);
  EXPECT_EQ(run({"ask", "--user", "john@example.org"}).status, 1);
}

TEST_F(ServiceCommands, AnswerLoggedDecisionsAgain) {
  const std::string line =
      R"({"time":"t","queue_id":"Q","questions":[{"type":"user","key":"john@example.org"}],"results":)"
      R"([{"policy_id":20,"priority":10},{"policy_id":14,"priority":20},{"policy_id":21,"priority":20}],)"
      R"("action":"BCC archive@example.org"})";
  const Words again{"lookup", "--stdin", "--decisions"};
  EXPECT_FALSE(json::parse(run(again, line).out)["differs"]);
  runSql(m_database, {"UPDATE policy_rule SET action = 'REJECT' WHERE rule_id = 120"});
  EXPECT_TRUE(json::parse(run(again, line).out)["differs"]);
  EXPECT_EQ(run(again, "{}\n").status, 65);
  const std::string asked =
      R"({"questions":[{"type":"user","key":"intern@example.org"},{"type":"group","key":"board"}],"results":[]})";
  EXPECT_THAT(run(again, asked).out, testing::AllOf(HasSubstr("\"board\""), testing::Not(HasSubstr("\"guests\""))));
  Words now = again;
  now.push_back("--with-groups");  // those of now in place of those that were
  EXPECT_THAT(run(now, asked).out, testing::AllOf(HasSubstr("\"guests\""), testing::Not(HasSubstr("\"board\""))));
  const std::string hidden =
      R"({"questions":[{"type":"user","key":"hmac:)" + std::string(32, '0') + R"("}],"results":[]})";
  EXPECT_THAT(run(again, hidden).out, HasSubstr("redacted"));
  expectRefusal(run({"lookup", "--decisions", "--all"}), 64, "--decisions needs --stdin");
}

TEST(ServiceCommandsAlone, SayThatNobodyAnswers) {
  for (const char* const command : {"status", "reload"})
    expectRefusal(runCommand({command, "--admin", "unix:/no/such.sock"}), 69, "is zrpolicyd running?");
  expectRefusal(runCommand({"ask", "--default", "--admin", "nowhere"}), 64, "neither unix:PATH nor");
}

}  // namespace
}  // namespace zrtest
