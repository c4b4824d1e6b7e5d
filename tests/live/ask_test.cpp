#include <gmock/gmock.h>
#include <random>

#include "host/ask/Answer.h"
#include "live/live_test_support.h"
#include "live/snapshot_maker_internal.h"

using zrlive::Question;

namespace zrtest {
namespace {

using Kind = Question::Kind;

// What a part is asked for: names that are there, names in other cases, and some that are not.
const std::vector<std::string> kNames[] = {
    {"john@example.org", "John@Example.ORG", "mary@example.org", "nobody@example.org"},
    {"sales", "SALES", "engineering", "none"},
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

TEST(LiveAsk, AnswersWhatTheCommandAnswers) {
  const auto place = makeSqlitePlace();
  zrhost::PolicyDatabase::init(place->options(), {true, false});
  zrhost::PolicyDatabase database(place->options());
  const auto loaded = zrhost::Snapshot::load(database);
  const auto snapshot = zrlive::SnapshotMaker::make(loaded, {LiveSource::kDatabase, "e", 1, {}});
  std::mt19937 random(20);  // NOLINT: the same questions each time
  Question question;
  zrlive::Answer answer;
  std::size_t results = 0;
  for (int round = 0; round < 3000; ++round) {
    askAnything(question, random);
    snapshot->ask(question, answer);
    const zrhost::Answer expected = zrhost::ask(*loaded, sameQuestion(question));
    ASSERT_TRUE(std::equal(answer.begin(), answer.end(), expected.begin(), expected.end(), isSame))
        << "round " << round;
    results += answer.size();
  }
  EXPECT_GT(results, 10000u);
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

}  // namespace
}  // namespace zrtest
