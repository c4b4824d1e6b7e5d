#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>

#include "host/base/HostError.h"
#include "host/diff/AnswerDiffReport.h"
#include "host/diff/RowDiffReport.h"
#include "host/given_rows.h"

namespace zrhost {
namespace {

using testing::HasSubstr;
using zrtest::GivenRows;

DiffSide side(const std::string& name, GivenRows& rows) {
  return {name, [&rows](RowSink& sink) { rows.read(sink); }};
}

std::string failureOf(const DiffSide& before, const DiffSide& after) {
  try {
    diffRows(before, after, [](const RowDifference&) {});
    return "none";
  } catch (const HostError& error) {
    return error.what();
  }
}

// All rows of a state: table and key, and the whole row.
using Content = std::map<std::string, std::string>;

std::string keyOf(const TableRow& row) {
  std::string key = formatOf(row.table).name;
  for (std::size_t i = 0; i < formatOf(row.table).columns.size(); ++i)
    if (formatOf(row.table).columns[i].isKey) key += '|' + *row.fields[i];
  return key;
}

std::string textOf(const TableRow& row) {
  std::string text;
  for (std::size_t i = 0; i < formatOf(row.table).columns.size(); ++i)
    text += row.fields[i].value_or("NULL") + '|';
  return text;
}

Content contentOf(GivenRows& rows) {
  GivenRows nothing;
  Content content;
  diffRows(side("A", nothing), side("B", rows),
           [&content](const RowDifference& each) { content[keyOf(*each.after)] = textOf(*each.after); });
  return content;
}

// Keys of which both states have some, and that are ordered otherwise as numbers than as texts.
GivenRows randomRows(std::mt19937& random, int most) {
  const auto some = [&random](int inHow) { return random() % static_cast<unsigned>(inHow) != 0; };
  const auto value = [&random] { return std::to_string(random() % 3); };
  GivenRows rows;
  for (int id = -most; id < most; ++id) {
    const std::string number = std::to_string(id);
    if (some(3)) rows.policies.push_back({number, value(), some(9) ? Field("p") : std::nullopt, "0"});
    for (const char* position : {"-2", "3", "10"})
      if (some(2)) rows.rules.push_back({number, position, "1", value(), "r", "0", "x"});
    if (some(3)) rows.links.push_back({number, "1", "n", value(), "1"});
  }
  for (const char* group : {"A", "a", "a ", "b", "\xc3\xa9"})
    for (const char* user : {"", "Z", "z", "\xff"})
      if (some(2)) rows.members.push_back({group, user});
  return rows;
}

TEST(Diff, DifferencesMakeTheOneStateOfTheOther) {
  std::mt19937 random(1);
  for (const int most : {1, 2, 20, 20, 400, 2000}) {
    GivenRows before = randomRows(random, most), after = randomRows(random, most);
    Content patched = contentOf(before);
    const RowDiffSummary summary = diffRows(side("A", before), side("B", after), [&patched](const RowDifference& each) {
      const std::string key = keyOf(each.row());
      if (each.before != nullptr) {
        ASSERT_EQ(patched.at(key), textOf(*each.before));
        patched.erase(key);
      }
      if (each.after != nullptr) {
        ASSERT_TRUE(patched.emplace(key, textOf(*each.after)).second);
      }
    });
    EXPECT_EQ(patched, contentOf(after));
    EXPECT_GT(summary.total(), 0U);
    EXPECT_EQ(diffRows(side("A", after), side("B", after), [](const RowDifference&) { FAIL(); }).total(), 0U);
  }
}

TEST(Diff, WhatCannotBeComparedNamesItsSide) {
  GivenRows many, twice, null, word, disordered;
  for (int id = 0; id < 5000; ++id)
    many.policies.push_back({std::to_string(id), "1", "p", "0"});
  twice.members = {{"a", "b"}, {"a", "b"}};
  null.links = {{std::nullopt, "1", "n", "1", "1"}};
  word.rules = {{"1", "ten", "1", "1", "r", "0", "x"}};
  disordered.policies = {{"10", "1", "p", "0"}, {"9", "1", "p", "0"}};
  const RowPlace place{"f.jsonl", 7};
  const std::pair<GivenRows*, const char*> cases[] = {
      {&twice, "f.jsonl, line 7: group_member, group_name 'a', user_name 'b': a row of this key stands twice"},
      {&null, "ep_link, link_id NULL: link_id is NULL"},
      {&word, "policy_rule, policy_id 1, position ten: position is 'ten', not a whole number"},
      {&disordered, "policy, policy_id 9: the rows do not come in the order of their keys"},
  };
  for (const auto& [rows, reason] : cases) {
    DiffSide bad = side("bad", *rows);
    if (rows == &twice) bad.place = &place;
    EXPECT_THAT(failureOf(bad, side("B", many)), testing::StartsWith(std::string("bad: ") + reason));
    EXPECT_THAT(failureOf(side("A", many), bad), testing::StartsWith(std::string("bad: ") + reason));
  }
  const DiffSide lost{"lost", [&many](RowSink& sink) {
                        many.read(sink);
                        throw HostError(ErrorKind::kUnreachable, "the connection was lost");
                      }};
  EXPECT_EQ(failureOf(lost, side("B", many)), "lost: the connection was lost");
  EXPECT_EQ(failureOf(side("A", many), lost), "lost: the connection was lost");
  const DiffSide thrown{"thrown", [](RowSink&) { throw "of the library"; }};
  EXPECT_EQ(failureOf(thrown, side("B", many)), "thrown: internal error: of the library");
  GivenRows none;
  EXPECT_THROW(diffRows(side("A", many), side("B", none), [](const RowDifference&) { throw 7; }), int);
}

TEST(Diff, RowsAreShownWithTheColumnsThatDiffer) {
  GivenRows before, after;
  before.policies = {{"1", "1", "old\x1b", "0"}, {"2", "1", "gone", "0"}};
  after.policies = {{"1", "1", "\xff", std::nullopt}};
  after.links = {{"5", "1", "n", "1", "-4"}};
  std::string text, json;
  for (const bool isJson : {false, true}) {
    std::string& written = isJson ? json : text;
    RowDiffReport report({isJson, false, [&written](std::string_view piece) { written += piece; }});
    report.finish(diffRows(side("A", before), side("B", after), [&](const RowDifference& each) { report.add(each); }));
  }
  EXPECT_EQ(text,
            "~ policy, policy_id 1: policy_name 'old\\x1b' -> '\\xff', is_default 0 -> NULL\n"
            "- policy, policy_id 2: policy_type 1, policy_name 'gone', is_default 0\n"
            "+ ep_link, link_id 5: entity_type 1, entity_name 'n', policy_id 1, priority -4\n"
            "policy: 0 added, 1 removed, 1 changed\npolicy_rule: 0 added, 0 removed, 0 changed\n"
            "ep_link: 1 added, 0 removed, 0 changed\ngroup_member: 0 added, 0 removed, 0 changed\n");
  EXPECT_THAT(json, testing::StartsWith(
                        R"({"rows":[{"table":"policy","key":{"policy_id":1},"change":"changed",)"
                        R"("before":{"policy_name":"old\u001b","is_default":0},)"
                        R"("after":{"policy_name_base64":"/w==","is_default":null}},)"
                        R"({"table":"policy","key":{"policy_id":2},"change":"removed",)"
                        R"("before":{"policy_id":2,"policy_type":1,"policy_name":"gone","is_default":0},"after":null},)"
                        R"({"table":"ep_link","key":{"link_id":5},"change":"added","before":null,)"));
  EXPECT_THAT(json, HasSubstr(R"(],"summary":{"policy":{"added":0,"removed":1,"changed":1},"policy_rule":)"));
}

TEST(Diff, AnswersDifferByPoliciesPrioritiesAndActionsAlone) {
  GivenRows before;
  for (const char* id : {"1", "2"}) {
    before.policies.push_back({id, "0", "p", "0"});
    before.rules.push_back({id, "1", "1", "247", "rule", "0", "OK"});
  }
  before.links = {{"1", "1", "a", "1", "1"}, {"2", "1", "a", "2", "2"}, {"3", "1", "b", "2", "2"}};
  GivenRows after = before;
  after.policies[0].policyName = "another name";
  after.rules[1].action = "REJECT";
  after.links = {{"1", "1", "a", "1", "0"}, {"4", "1", "a", "2", "2"}, {"5", "1", "c", "1", "9"}};
  std::string text;
  AnswerDiffReport report({false, false, [&text](std::string_view piece) { text += piece; }});
  std::vector<PlacedQuestion> questions;
  for (const char* asked : {"user a", "user b", "user c", "user d"})
    questions.push_back({questions.size() + 1, asked, parseQuestion(asked)});
  const auto different = diffAnswers(*Snapshot::load(before), *Snapshot::load(after), questions, false,
                                     [&report](const AnswerDifference& each) { report.add(each); });
  report.finish(questions.size(), different);
  EXPECT_EQ(text,
            "line 1: user a\n  before: 1 2\n  after:  1 2\n  policy 1: priority 1 -> 0\n  policy 2: action 'OK' -> "
            "'REJECT'\n"
            "line 2: user b\n  before: 2\n  after:  none\nline 3: user c\n  before: none\n  after:  1\n"
            "3 of 4 answers differ\n");
}

}  // namespace
}  // namespace zrhost
