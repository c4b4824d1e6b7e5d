#include <gmock/gmock.h>

#include "cli/command.h"
#include "common/temp_folder.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ExplainCommand : public testing::Test {
 protected:
  ExplainCommand() { runCommand({"init", "--sample", "--database", m_database}); }
  CommandResult explain(std::vector<std::string> words, const std::string& input = "") {
    words.insert(words.begin(), "explain");
    words.insert(words.end(), {"--database", m_database});
    return runCommand(words, {input, {}, "", {}});
  }

  TempFolder m_folder;
  std::string m_database = m_folder.file("policy.db");
};

TEST_F(ExplainCommand, StatusTellsWhetherThePolicyApplies) {
  const struct {
    std::vector<std::string> words;
    int status;
    const char* line;
  } cases[] = {
      {{"--user", "john@example.org"},
       0,
       "      1        10         20  John's archive of everything  john@example.org  counts\n"},
      {{"--host", "nowhere"}, 1, "HOSTNAME 'nowhere', searched as 'NOWHERE': no link\n"},
      {{"--user", "intern@example.org", "--policy", "60"},
       1,
       "policy 60 is not in the answer: it has no rule of kind 247"},
      {{"--user", "john@example.org", "--policy", "14"},
       0,
       "policy 14 is in the answer: link 2 counts, with priority 20\n"},
      {{"--user", "john@example.org", "--policy", "13"},
       1,
       "     14        25  GROUP        sales   a user of the question is in"},
      {{"--user", "john@example.org", "--policy", "13", "--with-groups"}, 0, "policy 13 is in the answer"},
      {{"--ip", "010.0.0.7"}, 1, "IP '010.0.0.7', searched as 8.0.0.7, 134217735: no link\n"},
      {{"--default", "--policy", "999", "--json"},
       1,
       "{\"policy_id\":999,\"in_answer\":false,\"reason\":\"there is no policy 999\",\"near\":[]}"},
  };
  for (const auto& [words, status, line] : cases) {
    const CommandResult result = explain(words);
    EXPECT_EQ(result.status, status) << line;
    EXPECT_THAT(result.out, HasSubstr(line));
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(ExplainCommand, LinesOfStandardInputGiveADocumentEach) {
  const CommandResult result = explain({"--stdin", "--policy", "40"}, "ip 10.0.0.7\n\nnonsense\nuser \x1b[31m\n");
  EXPECT_EQ(result.status, 65);
  EXPECT_THAT(result.out,
              StartsWith("{\"questions\":[{\"type\":\"IP\",\"key\":\"10.0.0.7\",\"searched\":\"167772167\","));
  EXPECT_THAT(
      result.out,
      HasSubstr("\"in_answer\":true,\"reason\":\"link 26 counts, with priority 50\",\"near\":[]}}\n{\"error\":"));
  EXPECT_THAT(result.out, HasSubstr("\"line\":3}\n{\"questions\":[{\"type\":\"USER\",\"key\":\"\\u001b[31m\","));
}

TEST_F(ExplainCommand, LinksThatLoadingRefusedAreNamedAsAPossibleReason) {
  runSql(m_database,
         {"INSERT INTO policy VALUES (70, 1, 'new', 0)", "INSERT INTO policy_rule VALUES (70, 1, 1, 247, 'r', 0, 'OK')",
          "INSERT INTO ep_link VALUES (70, 4, '::1', 70, 1)"});
  const CommandResult result = explain({"--all", "--policy", "70"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, HasSubstr("no link leads to it (1 row left out by loading, see zrpolicy load)\n"));
  EXPECT_THAT(result.err, HasSubstr("link_id 70"));
  EXPECT_EQ(explain({"--all", "--strict"}).status, 65);
}

}  // namespace
}  // namespace zrtest
