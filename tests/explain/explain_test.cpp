#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/explain/Explainer.h"
#include "host/explain/ExplanationJson.h"
#include "host/explain/ExplanationText.h"
#include "host/given_rows.h"

namespace zrhost {
namespace {

using testing::HasSubstr;

// Policies 1 to 4; 1 is the default, 4 has rules of the kinds 5 and 6 alone.
std::shared_ptr<const Snapshot> loaded() {
  zrtest::GivenRows rows;
  for (const char* id : {"1", "2", "3", "4", "5"})
    rows.policies.push_back({id, "0", "policy", *id == '1' ? "1" : "0"});
  for (const char* id : {"1", "2", "3"})
    rows.rules.push_back({id, "1", "9", "247", "rule", "0", "DUNNO"});
  rows.rules.push_back({"4", "1", "9", "5", "rule", "0", "x"});
  rows.rules.push_back({"4", "2", "9", "6", "rule", "0", "x"});
  rows.links = {{"11", "1", "john", "4", "1"},
                {"12", "1", "john", "2", "2"},
                {"13", "2", "staff", "2", "3"},
                {"14", "1", "Mary", "3", "4"},
                {"15", "1", "eve ", "3", "4"},
                {"16", "5", "10.0.1.0 ~ 10.0.1.255", "3", "4"},
                {"17", "5", "10.0.9.9 ~ 10.0.9.0", "3", "4"},
                {"18", "5", "10.0.3.0 ~ 10.0.3.255", "3", "4"},
                {"19", "2", "staff", "3", "4"},
                {"20", "2", "ren&#233;", "3", "4"},
                {"21", "4", "10.0.0.7", "3", "4"}};
  rows.members = {{"staff", "john"}};
  return Snapshot::load(rows, {.keepLinkIds = true});
}

std::string jsonOf(const Explanation& explanation) {
  std::string text;
  writeExplanationJson(explanation, [&text](std::string_view piece) { text += piece; });
  return text;
}

std::string textOf(const Explanation& explanation) {
  std::string text;
  writeExplanationText(explanation, 0, [&text](std::string_view piece) { text += piece; });
  return text;
}

TEST(Explain, EachSearchShowsItsKeyAndWhatBecameOfEachLink) {
  const auto snapshot = loaded();
  const Explanation explanation =
      Explainer(*snapshot).explain(withGroups(parseQuestion("user John\tip 10.0.1.7\tdefault")));
  EXPECT_THAT(
      jsonOf(explanation),
      testing::StartsWith(
          R"({"questions":[{"type":"USER","key":"John","searched":"john","links":[)"
          R"({"link_id":11,"policy_id":4,"priority":1,"entity_name":"john","outcome":"no_selected_rule"},)"
          R"({"link_id":12,"policy_id":2,"priority":2,"entity_name":"john","outcome":"counts"}]},)"
          R"({"type":"GROUP","key":"staff","searched":"staff","links":[)"
          R"({"link_id":13,"policy_id":2,"priority":3,"entity_name":"staff","outcome":"already_in_answer"},)"
          R"({"link_id":19,"policy_id":3,"priority":4,"entity_name":"staff","outcome":"counts"}]},)"
          R"({"type":"IP","key":"10.0.1.7","searched":"167772423","links":[]},)"
          R"({"type":"IP_RANGE","key":"10.0.1.7","searched":"167772423","links":[)"
          R"({"link_id":16,"policy_id":3,"priority":4,"entity_name":"10.0.1.0 ~ 10.0.1.255","outcome":"already_in_answer"}]},)"
          R"({"type":"DEFAULT","key":"","searched":"","links":[)"
          R"({"link_id":null,"policy_id":1,"priority":2147483647,"entity_name":"Default Policy","outcome":"counts"}]}],)"
          R"("results":[{"priority":2,"policy_id":2,)"));
  const std::string text = textOf(explanation);
  for (const char* line :
       {"USER 'John', searched as 'john':\n", "its policy has no rule of kind 247 (it has kinds 5, 6)\n",
        "its policy is in the answer by link 12\n", "IP '10.0.1.7', searched as 167772423: no link\n"})
    EXPECT_THAT(text, HasSubstr(line));
  EXPECT_THAT(text, testing::Not(HasSubstr("not asked")));
  const std::string less = textOf(Explainer(*snapshot).explain(parseQuestion("user john\tuser john")));
  EXPECT_THAT(less, HasSubstr("counts already\n"));
  EXPECT_THAT(less, HasSubstr("not asked: the groups of the user 'john' (staff): asked with --with-groups\n"));
  EXPECT_THAT(less, HasSubstr("not asked: the default policy, 1 'policy': asked with --default\n"));
}

TEST(Explain, PolicyThatDoesNotApplyShowsWhyAndWhatComesNear) {
  struct Case {
    const char* question;
    int policy;
    const char* reason;
    std::vector<std::pair<int, const char*>> near;  // link, a part of the difference; 0 for the default policy
  };
  constexpr char kNotMet[] = "meets none of its links";
  const Case cases[] = {
      {"user mary", 3, kNotMet, {{14, "capital letter"}}},
      {"user eve", 3, kNotMet, {{15, "blank at an end"}}},
      {"user  mary ",
       3,
       kNotMet,
       {{14, "capital letter, but names are searched in lower case; the key that was asked has a blank"}}},
      {"group ren&#233;", 3, kNotMet, {{20, "HTML entity, which is decoded in links alone"}}},
      {"group mary", 3, kNotMet, {{14, "of type USER, asked was GROUP; its name has a capital"}}},
      {"user 10.0.0.7", 3, kNotMet, {{21, "of type IP, asked was USER"}}},
      {"user marry", 3, kNotMet, {{14, "one character differs from 'marry'"}}},
      {"user john", 3, kNotMet, {{19, "groups were not asked"}}},
      {"ip 10.0.2.0", 3, kNotMet, {{16, "ends 1 address below"}, {18, "begins 256 addresses above"}}},
      {"ip 10.0.9.4", 3, kNotMet, {{17, "above its last"}, {18, "ends 1285 addresses below"}}},
      {"user eva", 1, "it is the default policy, which was not asked", {{0, "--default"}}},
      {"user john", 4, "no rule of kind 247 (it has kinds 5, 6)", {}},
      {"user john", 5, "it has no rules", {}},
      {"user nobody", 9, "there is no policy 9", {}},
  };
  const auto snapshot = loaded();
  for (const auto& [question, policyId, reason, expected] : cases) {
    const Explanation explanation = Explainer(*snapshot, policyId).explain(parseQuestion(question));
    const PolicyExplanation& policy = *explanation.policy;
    EXPECT_FALSE(policy.inAnswer) << question;
    EXPECT_THAT(policy.reason, HasSubstr(reason)) << question;
    const std::string json = jsonOf(explanation);
    std::size_t at = json.find("\"near\":[");
    ASSERT_EQ(policy.near.size(), expected.size()) << question << json.substr(at);
    for (const auto& [link, difference] : expected) {
      const std::string id = "{\"link_id\":" + (link == 0 ? "null" : std::to_string(link)) + ',';
      at = json.find(id, at);
      ASSERT_NE(at, std::string::npos) << question << json;
      EXPECT_NE(json.find(difference, at), std::string::npos) << question << json.substr(at);
    }
  }
}

}  // namespace
}  // namespace zrhost
