#include <gmock/gmock.h>
#include <random>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "host/ask/Answer.h"
#include "host/given_rows.h"
#include "live/live_test_support.h"
#include "live/snapshot_maker_internal.h"
#include "live/worker_internal.h"
#include "support/PolicyLog.h"

using zrlive::Question;

namespace zrtest {
namespace {

using Kind = Question::Kind;

// What a part is asked for: names that are there, names in other cases, and some that are not.
const std::vector<std::string> kNames[] = {
    {"john@example.org", "John@Example.ORG", "mary@example.org", "\xC3\xA9@x", "nobody@example.org"},
    {"sales", "SALES", "engineering", "\xC3\xBC\x62\x65r", "none"},
    {"relay1.example.org", "RELAY1.Example.Org", "no.example"},
    {"10.0.0.7", "10.0.0.255", "192.0.2.200", "0x0a.0.0.7"},
    {"POP3_Mail_Sender", "pop3_mail_sender", "nothing"},
};

zrhost::Question sameQuestion(const Question& question) {
  zrhost::Question same;
  for (std::size_t part = 0; part < question.size(); ++part) {
    const auto kind = static_cast<std::size_t>(question.kind(part));
    if (question.kind(part) == Kind::kDefault) {
      same.push_back(zrhost::parseQuestion("default").front());
    } else if (question.kind(part) == Kind::kAll) {
      same.push_back(zrhost::parseQuestion("all").front());
    } else {
      same.push_back(zrhost::makeQuestionPart(zrhost::kQuestionWords[kind], question.key(part)));
    }
  }
  return question.members() ? zrhost::withGroups(same) : same;
}

void askAnything(Question& question, std::mt19937& random) {
  question.clear();
  for (int parts = 1 + static_cast<int>(random() % 5); parts > 0; --parts) {
    const auto kind = random() % 10 == 0 ? Kind::kAll : static_cast<Kind>(random() % 6);
    if (kind >= Kind::kDefault) {
      question.add(kind, {});
    } else {
      const auto& names = kNames[static_cast<std::size_t>(kind)];
      question.add(kind, names[random() % names.size()]);
    }
  }
  question.setMembers(random() % 2 == 0);
}

bool isSame(const zrlive::Result& result, const zrhost::AnswerResult& other) {
  return result.priority == other.priority && result.policyId == other.policyId &&
         result.policyType == other.policyType && result.policyName == other.policyName &&
         static_cast<int>(result.entityType) == static_cast<int>(other.entityType) &&
         result.entityName == other.entityName && result.ruleId == other.rule.id &&
         result.ruleName == other.rule.name && result.ruleType == other.rule.type &&
         result.ruleHasLdapSetting == other.rule.ldapSetting && result.action == other.rule.action;
}

// Asks a snapshot as the service has it, with an index, and the library's lookups. Returns the number of results.
std::size_t expectSameAnswers(zrhost::RowSource& rows, std::mt19937& random, int rounds) {
  PolicyLog::ms_level = PolicyLog::LEVEL_ERROR;  // above, each lookup is told, for which the library makes it
  const auto loaded = zrhost::Snapshot::load(rows, {.logs = false, .indexLinks = true});
  const auto snapshot = zrlive::SnapshotMaker::make(loaded, {LiveSource::kDatabase, "e", 1, {}});
  Question question;
  zrlive::Answer answer;
  std::size_t results = 0;
  for (int round = 0; round < rounds; ++round) {
    askAnything(question, random);
    snapshot->ask(question, answer);
    const zrhost::Answer expected = zrhost::ask(*loaded, sameQuestion(question));
    EXPECT_TRUE(std::equal(answer.begin(), answer.end(), expected.begin(), expected.end(), isSame))
        << "round " << round;
    results += answer.size();
  }
  return results;
}

TEST(LiveAsk, AnswersWhatTheCommandAnswers) {
  const auto place = makeSqlitePlace();
  zrhost::PolicyDatabase::init(place->options(), {true, false});
  zrhost::PolicyDatabase database(place->options());
  std::mt19937 random(20);  // NOLINT: the same questions each time
  EXPECT_GT(expectSameAnswers(database, random, 3000), 10000u);
}

// Few names and many links: keys with several links, names with entities and capitals, ranges apart and across one
// another, policies without a rule that counts, groups of several users, more results than are put in order quickly.
GivenRows anyRows(std::mt19937& random) {
  static const std::vector<std::string> names[] = {
      {"john@example.org", "John@Example.ORG", "mary@example.org", "&#233;@x", "nobody@example.org"},
      {"sales", "SALES", "&#252;ber", "engineering"},
      {"relay1.example.org", "RELAY1.Example.Org", "no.example"},
      {"10.0.0.7", "10.0.0.255"},
      {"10.0.0.0 ~ 10.0.0.200", "10.0.0.7 ~ 10.0.0.7", "192.0.2.200 ~ 192.0.2.201", "10.0.1.0 ~ 10.0.0.0"},
      {"POP3_Mail_Sender", "pop3_mail_sender", "nothing"},
  };
  const auto number = [&random](std::uint32_t below) { return std::to_string(random() % below); };
  const std::uint32_t policies = 1 + random() % 80;
  GivenRows rows;
  for (std::uint32_t i = 0; i < policies; ++i) {
    const std::string id = std::to_string(i);
    rows.policies.push_back({id, number(3), "Policy " + id, i == 0 && random() % 2 == 0 ? "1" : "0"});
    for (int rule = random() % 3; rule > 0; --rule)
      rows.rules.push_back({id, std::to_string(rule), number(9), random() % 3 == 0 ? "1" : "247", "r", "0", "a" + id});
  }
  for (std::uint32_t link = random() % 300; link > 0; --link) {
    const std::uint32_t type = random() % 6;
    rows.links.push_back({std::to_string(link), std::to_string(type + 1), names[type][random() % names[type].size()],
                          number(policies), number(7)});
  }
  for (int member = random() % 9; member > 0; --member)
    rows.members.push_back({names[1][random() % names[1].size()], names[0][random() % names[0].size()]});
  return rows;
}

TEST(LiveAsk, AnswersWithAnIndexWhatTheLibraryAnswers) {
  std::mt19937 random(30);  // NOLINT: the same rows each time
  std::size_t results = 0;
  for (int round = 0; round < 200 && !HasFailure(); ++round) {
    GivenRows rows = anyRows(random);
    results += expectSameAnswers(rows, random, 100);
  }
  EXPECT_GT(results, 50000u);
}

TEST(LiveAsk, RefusesKeysThatNoLookupIsMadeWith) {
  Question question;
  question.addUser("john");
  const struct {
    Kind kind;
    std::string_view key;
    const char* text;
  } cases[] = {
      {Kind::kUser, "", "user needs a key that is not empty"},
      {Kind::kOther, std::string_view("a\0b", 3), "a key cannot hold a zero byte"},
      {Kind::kAddress, "10.0.0.7 ", "no IPv4 address"},
      {Kind::kAddress, "255.255.255.255", "no IPv4 address"},
      {Kind::kAddress, "::1", "no IPv4 address"},
  };
  for (const auto& each : cases) {
    try {
      question.add(each.kind, each.key);
      ADD_FAILURE() << each.text;
    } catch (const zrlive::LiveError& error) {
      EXPECT_EQ(error.kind(), zrlive::LiveError::Kind::kUsage);
      EXPECT_THAT(error.what(), testing::HasSubstr(each.text));
    }
  }
  EXPECT_EQ(question.size(), 1u);
}

TEST(LiveOptionsCheck, NamesWhatCannotBe) {
  const auto place = makeSqlitePlace();
  const struct {
    const char* text;
    std::function<void(LiveOptions&)> spoil;
  } cases[] = {
      {"either a databaseFile or a dataSource", [](LiveOptions& options) { options.dataSource = "another"; }},
      {"between two polls", [](LiveOptions& options) { options.poll = std::chrono::milliseconds(0); }},
      {"above ten years", [](LiveOptions& options) { options.maxAge = std::chrono::milliseconds::max(); }},
      {"the state folder '/none'", [](LiveOptions& options) { options.stateFolder = "/none"; }},
      {"the SQL statement files in '/none'", [](LiveOptions& options) { options.sqlDirectory = "/none"; }},
  };
  for (const auto& each : cases) {
    auto options = quick(place->options());
    each.spoil(options);
    try {
      const LivePolicies policies(options);
      ADD_FAILURE() << each.text;
    } catch (const zrlive::LiveError& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(each.text));
    }
  }
  try {
    LivePolicies::check(quick(place->options()));
    FAIL();
  } catch (const zrlive::LiveError& error) {
    EXPECT_EQ(error.kind(), zrlive::LiveError::Kind::kUnreachable);
  }
  zrhost::PolicyDatabase::init(place->options(), {true, false});
  EXPECT_EQ(LivePolicies::check(quick(place->options())).counts.policies, 22u);
}

TEST(LiveWorker, WorkThatNobodyWaitsForGivesWayUntilSomebodyDoes) {
  zrlive::Worker worker(std::make_shared<zrlive::Bell>(), 10);
  std::atomic<int> first{-1}, nice{0};
  const auto job = [&first, &nice] {
    first = sched_getscheduler(0);
    while (sched_getscheduler(0) != SCHED_OTHER)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    nice = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
  };
  worker.post(job, zrlive::Worker::Haste::kNone);
  EXPECT_TRUE(comesTrue([&first] { return first != -1; }));
  // Who may not come back from that, in a container for instance, does not go there.
  bool mayRest = access("/proc/self/schedstat", R_OK) == 0;
  std::thread([&mayRest] {
    for (const int to : {19, 10})
      mayRest &= setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), to) == 0;
  }).join();
  EXPECT_EQ(first, mayRest ? SCHED_IDLE : SCHED_OTHER);
  worker.raise();
  EXPECT_TRUE(comesTrue([&worker] { return !worker.isBusy(); }));
  EXPECT_EQ(nice, 10);
}

}  // namespace
}  // namespace zrtest
