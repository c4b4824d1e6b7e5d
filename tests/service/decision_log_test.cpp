#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "common/temp_folder.h"
#include "host/base/HostError.h"
#include "host/mend/name_mend.h"
#include "live/LivePolicies.h"
#include "service/DecisionLog.h"
#include "service/QuestionRules.h"
#include "service/sample_site.h"

namespace zrservice {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using zrhost::HostError;

// The sample site, asked as a service would.
class DecisionLogTest : public testing::Test {
 protected:
  DecisionLogTest() {
    m_settings.decisionLog = m_folder.file("log");
    m_settings.redactKeyFile = m_folder.write("key", "sixteen bytes or more");
  }

  void note(DecisionLog& log, const std::string& attributes, const zrhost::QuestionsSection& questions = {}) {
    const std::string text = attributes + "\n\n";
    PolicyRequest request;
    ASSERT_EQ(request.parse(text).size, text.size());
    QuestionRules(questions).ask(request, m_question);
    const auto lease = m_policies->lease();
    lease->ask(m_question, m_answer);
    log.note({request, m_question, m_answer, lease.get(), m_answer[0].action, std::chrono::nanoseconds(1500)});
  }
  std::string logged(const std::string& attributes, const zrhost::QuestionsSection& questions = {}) {
    note(*DecisionLog::open(m_settings), attributes, questions);  // whose end writes what waits
    return zrtest::readFile(m_settings.decisionLog);
  }

  zrtest::TempFolder m_folder;
  zrhost::ServiceSection m_settings;
  std::unique_ptr<zrlive::LivePolicies> m_policies = zrtest::startedPolicies(zrtest::sampleSite(m_folder));
  zrlive::Question m_question;
  zrlive::Answer m_answer;
};

bool comesTrue(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 3000 && !condition(); ++tries)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return condition();
}

TEST_F(DecisionLogTest, WritesWhatWasAskedAndAnswered) {
  const json line =
      json::parse(logged("instance=1.2\nqueue_id=4ABC\nprotocol_state=RCPT\nsasl_username=John@example.org"));
  EXPECT_THAT(line["time"].get<std::string>(), testing::MatchesRegex("20..-..-..T..:..:..[.]......Z"));
  json rest = line;
  rest.erase("time");
  EXPECT_EQ(rest, json::parse(R"({"instance": "1.2", "queue_id": "4ABC", "protocol_state": "RCPT", "questions": [
      {"type": "user", "key": "John@example.org"}, {"type": "group", "key": "engineering"},
      {"type": "group", "key": "sales"}, {"type": "other", "key": "example.org"}, {"type": "default", "key": ""}],
      "revision": )" + std::to_string(m_policies->status().revision) +
                              R"(, "results": [
      {"policy_id": 20, "priority": 10, "entity_type": "USER", "entity_name": "john@example.org"},
      {"policy_id": 14, "priority": 20, "entity_type": "USER", "entity_name": "john@example.org"},
      {"policy_id": 21, "priority": 20, "entity_type": "USER", "entity_name": "john@example.org"},
      {"policy_id": 61, "priority": 20, "entity_type": "GROUP", "entity_name": "engineering"},
      {"policy_id": 13, "priority": 25, "entity_type": "GROUP", "entity_name": "sales"},
      {"policy_id": 1, "priority": 2147483647, "entity_type": "DEFAULT", "entity_name": "Default Policy"}],
      "action": "BCC archive@example.org", "microseconds": 1.5})"));
}

TEST_F(DecisionLogTest, HidesWhatIsToBeHidden) {
  zrhost::QuestionsSection byRecipient;
  byRecipient.user = {"recipient"};
  const struct {
    zrhost::TextList redact;
    const char* shown;
    const char* hidden;
  } cases[] = {{{"USER"}, "10.0.0.7", "john@"},
               {{"recipient"}, "10.0.0.7", "john"},
               {{"address", "group"}, "john@example.org", "10.0.0.7"},
               {{"group"}, "john@example.org", "engineering"},
               {{"Host", "other"}, "10.0.0.7", "elay1.example"}};
  for (const auto& each : cases) {
    m_settings.redact = each.redact;
    std::filesystem::remove(m_settings.decisionLog);
    const std::string text =
        logged("recipient=John+x@Example.org.\nclient_address=10.0.0.7\nclient_name=relay1.example.org", byRecipient);
    EXPECT_THAT(zrhost::lowered(text), HasSubstr(each.shown));
    EXPECT_THAT(zrhost::lowered(text), testing::Not(HasSubstr(each.hidden)));
    EXPECT_THAT(text, HasSubstr("\"policy_id\":20"));
  }
  m_settings.redact = {"user"};
  const auto lineOf = [this](const char* name) {
    std::filesystem::remove(m_settings.decisionLog);
    return json::parse(logged(std::string("sasl_username=") + name));
  };
  const auto hashOf = [&](const char* name) { return lineOf(name)["questions"][0]["key"]; };
  const json renee = lineOf("ren\xc3\xa9\x65@example.org");  // whose links are written with an entity
  EXPECT_EQ(renee["results"][0]["entity_name"], renee["questions"][0]["key"]);
  EXPECT_EQ(hashOf("JOHN@example.org"), hashOf("john@example.org"));
  const json before = hashOf("john@example.org");
  m_folder.write("key", "another key of sixteen bytes");
  EXPECT_NE(hashOf("john@example.org"), before);
}

TEST_F(DecisionLogTest, RefusesSettingsByName) {
  const auto faultOf = [this] {
    try {
      DecisionLog::open(m_settings);
    } catch (const HostError& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  m_settings.redact = {"sender"};
  EXPECT_THAT(faultOf(), HasSubstr(R"([service] redact = "sender": )"));
  m_settings.redact = {"user"};
  m_folder.write("key", "short");
  EXPECT_THAT(faultOf(), HasSubstr("[service] redact_key_file = "));
  m_settings.redactKeyFile = m_folder.file("none");
  EXPECT_THAT(faultOf(), HasSubstr("No such file"));
  m_settings.redactKeyFile.clear();
  EXPECT_THAT(faultOf(), HasSubstr("redact_key_file"));
  m_settings.redact.clear();
  m_settings.decisionLog = m_folder.file("no/log");
  EXPECT_THAT(faultOf(), HasSubstr("[service] decision_log = "));
  m_settings.decisionLog = m_folder.file("pipe");  // that nobody reads
  mkfifo(m_settings.decisionLog.c_str(), 0600);
  EXPECT_THAT(faultOf(), HasSubstr("[service] decision_log = "));
}

TEST_F(DecisionLogTest, LogsOneInSoManyAndGoesOnInANewFile) {
  m_settings.sample = 3;
  const auto log = DecisionLog::open(m_settings);
  for (int i = 0; i < 9; ++i)
    note(*log, "sasl_username=john@example.org");
  EXPECT_TRUE(comesTrue([&] { return log->written() == 3; }));
  std::filesystem::rename(m_settings.decisionLog, m_folder.file("old"));
  log->reopen();
  EXPECT_TRUE(comesTrue([&] { return std::filesystem::exists(m_settings.decisionLog); }));
  EXPECT_EQ(log->dropped(), 0U);
}

TEST_F(DecisionLogTest, LosesAndCountsWhatADiskDoesNotTake) {
  m_settings.decisionLog = "/dev/full";
  const auto log = DecisionLog::open(m_settings);
  note(*log, "sasl_username=john@example.org");
  EXPECT_TRUE(comesTrue([&] { return log->dropped() == 1; }));
  EXPECT_EQ(log->written(), 0U);
}

// The pipe takes 64 KiB, the queue 8 MiB.
TEST_F(DecisionLogTest, WaitsForNobodyWhoDoesNotRead) {
  m_settings.decisionLog = m_folder.file("pipe");
  mkfifo(m_settings.decisionLog.c_str(), 0600);
  const int reader = ::open(m_settings.decisionLog.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  auto log = DecisionLog::open(m_settings);
  const std::string text = "sasl_username=john@example.org\ninstance=" + std::string(60'000, 'x');
  for (int i = 0; i < 1000 && log->dropped() == 0; ++i)
    note(*log, text);
  EXPECT_GT(log->dropped(), 0U);
  log.reset();  // ends although its thread does not
  close(reader);
}

}  // namespace
}  // namespace zrservice
