#include "host/import/Import.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "host/host_test_support.h"
#include "host/import/DatabaseInput.h"
#include "host/import/PolicyFileInput.h"
#include "host/policyfile/PolicyFileWriter.h"

namespace zrtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using zrhost::WriteMode;

constexpr const char* kPolicies =
    "{\"policy\":{\"policy_id\":1,\"policy_type\":1,\"policy_name\":\"Any\",\"is_default\":1}}\n"
    "{\"rule\":{\"policy_id\":1,\"position\":1,\"rule_id\":1,\"rule_type\":247,\"rule_name\":\"r\",\"ldap_setting\":0,"
    "\"action\":\"OK\"}}\n";

std::string link(const std::string& name, int type = 1, int policy = 1, int priority = 5) {
  return "{\"link\":{\"entity_type\":" + std::to_string(type) + ",\"entity_name\":\"" + name +
         "\",\"policy_id\":" + std::to_string(policy) + ",\"priority\":" + std::to_string(priority) + "}}\n";
}

std::string jsonLines(const std::string& rows) {
  const auto count = std::count(rows.begin(), rows.end(), '\n');
  return "{\"zrpolicy\":1}\n" + rows + "{\"end\":" + std::to_string(count) + "}\n";
}

class Import : public EveryDatabase {
 protected:
  // What an import of such a file did, as "read added changed removed unchanged mended rejected".
  std::string import(const std::string& content, zrhost::ImportOptions options = {}) {
    return importFile(folder.write("in.jsonl", content), std::move(options));
  }
  std::string importFile(const std::string& path, zrhost::ImportOptions options = {}) {
    listed.clear();
    options.onRejected = [this](const std::string& text) { listed.push_back(text); };
    zrhost::PolicyFileInput input(path);
    const zrhost::ImportSummary summary = zrhost::importRows(input, place->options(), options);
    examples = summary.mendedExamples;
    std::string text;
    for (const std::uint64_t number :
         {summary.read, summary.changes.added, summary.changes.changed, summary.changes.removed,
          summary.changes.unchanged, summary.mended, summary.rejected})
      text += (text.empty() ? "" : " ") + std::to_string(number);
    return text;
  }
  std::string exported() {
    std::string text;
    const auto writer = zrhost::makePolicyFileWriter([&text](std::string_view part) { text += part; });
    zrhost::PolicyDatabase(place->options()).readByKey(*writer);
    writer->commit();
    return text;
  }
  std::int64_t revision() { return zrhost::PolicyDatabase(place->options()).revision().revision; }
  static zrhost::ImportOptions with(WriteMode mode) { return {mode}; }
  static zrhost::ImportOptions asIs() { return {WriteMode::kMerge, true}; }

  TempFolder folder;
  std::vector<std::string> listed;
  std::vector<std::string> examples;
};
INSTANTIATE_TEST_SUITE_P(, Import, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

TEST_P(Import, WhatAnExportHasComesBackUnchangedAndLeavesTheRevisionAlone) {
  init(true);
  place->run(
      "INSERT INTO ep_link VALUES (-7, 1, '\xC3\x84 \"\t\\', 1, -2147483648);"
      "INSERT INTO group_member VALUES ('a,b', 'c''d')");
  if (std::string(GetParam()) == "SQLite")
    place->run("INSERT INTO ep_link VALUES (90, 1, CAST(x'FFFE' AS TEXT), 1, 1)");
  const std::string before = exported();
  const std::int64_t revisionBefore = revision();
  zrhost::ImportOptions replacing = with(WriteMode::kReplace);
  EXPECT_THAT(import(before, replacing), HasSubstr(" 0 0 0 "));
  EXPECT_EQ(revision(), revisionBefore);
  const std::string csv = folder.file("csv");
  const auto writer = zrhost::makePolicyFileWriter(csv, zrhost::PolicyFileFormat::kCsv);
  zrhost::PolicyDatabase(place->options()).readByKey(*writer);
  writer->commit();
  init(false, true);
  replacing.asIs = true;
  importFile(csv, replacing);
  EXPECT_TRUE(exported() == before) << exported();
}

TEST_P(Import, RowsAreMendedCountedAndTakenByKey) {
  init();
  EXPECT_EQ(import(jsonLines(link("John ") + link("10.0.0.0/24", 4) + kPolicies)), "4 4 0 0 0 2 0");
  EXPECT_THAT(examples, ElementsAre(testing::EndsWith("in.jsonl, line 2: entity_name 'John ' becomes 'john'"),
                                    HasSubstr("line 3: entity_type 4 becomes 5, entity_name '10.0.0.0/24' becomes")));
  EXPECT_EQ(import("entity_type,entity_name,policy_id,priority\nuser,JOHN,1,6\nIp_Range,10.0.0.0-10.0.0.255,1,5\n"),
            "2 0 1 0 1 2 0");
  EXPECT_THAT(exported(), HasSubstr("{\"link\":{\"link_id\":1,\"entity_type\":1,\"entity_name\":\"john\",\"policy_id\":"
                                    "1,\"priority\":6}}\n{\"link\":{\"link_id\":2,\"entity_type\":5,"));
  EXPECT_EQ(import(jsonLines(link("JOHN") + link("2001:db8::1", 4) + link("", 2)), asIs()), "3 3 0 0 0 0 0");
  EXPECT_EQ(import(jsonLines(link("JOHN") + link("10.9.9.9", 4)), with(WriteMode::kRemove)), "2 0 0 1 1 1 0");
}

TEST_P(Import, RowsThatCannotGoInAreListedInTheirOrderAndNothingIsChanged) {
  init();
  const std::string good = jsonLines(kPolicies + link("a"));
  import(good);
  const std::string before = exported();
  const std::string bad = jsonLines(link("new") + link("2001:db8::1", 4) + link("NEW ") + "nonsense\n" +
                                    link("10.4.3.2/9", 5) + link("b", 1, 99) + link(" ", 3) + link("a\\u0000b") +
                                    "{\"member\":{\"group_name\":\"g\",\"user_name\":\"\"}}\n");
  const Failure failure = failureOf([&] { import(bad); });
  EXPECT_EQ(failure.kind, ErrorKind::kBadRow);
  EXPECT_THAT(failure.text, HasSubstr("8 rows of "));
  const auto line = [](int number, const char* reason) {
    return HasSubstr(", line " + std::to_string(number) + reason);
  };
  EXPECT_THAT(listed,
              ElementsAre(line(3, ": entity_name '2001:db8::1' holds an IPv6 address"),
                          line(4, ": the row stands twice, first in line 2"), line(5, ", column 2: "),
                          line(6, ": entity_name '10.4.3.2/9' does not begin with the first address of its network"),
                          line(7, ": there is no policy 99"), line(8, ": entity_name is empty"),
                          line(9, ": entity_name holds a zero byte"), line(10, ": user_name is empty")));
  EXPECT_EQ(exported(), before);
}

TEST_P(Import, RejectedRowsCanBeMendedAndFedBack) {
  init();
  import(jsonLines(kPolicies));
  zrhost::ImportOptions options;
  options.rejects = folder.file("rejected");
  const std::string csv = folder.write("links.csv",
                                       "entity_type,entity_name,policy_id,priority\nUSER,ok,1,1\nUSER,OK,1,2\n"
                                       "USER,x,9,1\nUSER,Bad,one,1\n");
  EXPECT_EQ(importFile(csv, options), "4 1 0 0 0 0 3");
  EXPECT_EQ(readFile(options.rejects),
            "entity_type,entity_name,policy_id,priority,reason\r\n"
            "1,OK,1,2,\"the row stands twice, first in line 2\"\r\n1,x,9,1,there is no policy 9\r\n"
            "USER,Bad,one,1,\"policy_id is 'one', not a whole number from -2147483648 to 2147483647\"\r\n");
  std::string mended = readFile(options.rejects);
  mended.replace(mended.find("x,9"), 3, "x,1");
  mended.replace(mended.find("one"), 3, "1");
  EXPECT_EQ(import(mended, options), "3 2 1 0 0 2 0");
  EXPECT_EQ(readFile(options.rejects), "entity_type,entity_name,policy_id,priority,reason\r\n");

  options.rejects = folder.file("in.jsonl");
  EXPECT_EQ(failureOf([&] { import(jsonLines(link("a")), options); }).kind, ErrorKind::kUsage);
  options.rejects = folder.file("no/folder");
  EXPECT_EQ(failureOf([&] { import(jsonLines(link("z")), options); }).kind, ErrorKind::kInputOutput);
  EXPECT_THAT(exported(), testing::Not(HasSubstr("\"z\"")));
}

// More than are kept in memory, from two files of a folder whose lines have the same numbers.
TEST_P(Import, AnyNumberOfRowsCanBeRejected) {
  init();
  std::string links = "entity_type,entity_name,policy_id,priority\n", members = "group_name,user_name\n";
  for (int i = 0; i < 5000; ++i) {
    links += "user,a,1,1\n";
    members += "g,u\n";
  }
  const std::string csv = folder.file("csv");
  std::filesystem::create_directory(csv);
  folder.write("csv/ep_link.csv", links);
  folder.write("csv/group_member.csv", members);
  folder.write("csv/policy.csv", "policy_id,policy_type,policy_name,is_default\n1,1,a,x\n1,1,a,1\n");
  folder.write("csv/policy_rule.csv", "policy_id,position,rule_id,rule_type,rule_name,ldap_setting,action\n");
  EXPECT_EQ(failureOf([&] { importFile(csv); }).kind, ErrorKind::kBadRow);
  ASSERT_EQ(listed.size(), 101U);
  EXPECT_EQ(listed.back(), "and 9899 more");
  zrhost::ImportOptions options;
  options.rejects = folder.file("rejected");
  EXPECT_EQ(importFile(csv, options), "10002 3 0 0 0 0 9999");
  EXPECT_THAT(readFile(folder.file("rejected/policy.csv")), HasSubstr("1,1,a,x,"));
  EXPECT_THAT(readFile(folder.file("rejected/group_member.csv")), testing::EndsWith("first in line 2\"\r\n"));
}

TEST_P(Import, WhatTakesAwayMuchIsRefusedUnlessItIsAllowed) {
  init();
  std::string five, four;
  for (const char* name : {"a", "b", "c", "d"})
    four += link(name);
  five = four + link("e");
  import(jsonLines(kPolicies + five + link("f")));
  const std::string before = exported();
  zrhost::ImportOptions options = with(WriteMode::kReplace);
  options.dryRun = true;
  EXPECT_EQ(import(jsonLines(kPolicies + five), options), "7 0 0 1 7 0 0");
  Failure failure = failureOf([&] { import(jsonLines(kPolicies + four), options); });
  EXPECT_EQ(failure.kind, ErrorKind::kLoss);
  EXPECT_THAT(failure.text, HasSubstr("2 of 6 links"));
  std::string noDefault = jsonLines(kPolicies + five);
  noDefault.replace(noDefault.find("is_default\":1"), 13, "is_default\":0");
  failure = failureOf([&] { import(noDefault); });
  EXPECT_EQ(failure.kind, ErrorKind::kLoss);
  EXPECT_THAT(failure.text, HasSubstr("no policy with is_default 1 where there is one"));
  EXPECT_EQ(exported(), before);
  options.allowDrop = true;
  EXPECT_EQ(import(jsonLines(kPolicies + four), options), "6 0 0 2 6 0 0");
  EXPECT_EQ(exported(), before) << "a dry run writes nothing";
  options.dryRun = false;
  EXPECT_EQ(import(jsonLines(kPolicies), options), "2 0 0 6 2 0 0");
  EXPECT_EQ(failureOf([&] { import("entity_type,entity_name,policy_id,priority\n", options); }).kind,
            ErrorKind::kUsage);
}

TEST_P(Import, DatabaseIsCopiedByteForByte) {
  init();
  import(jsonLines(kPolicies + link("Not Mended ")), asIs());
  const auto copy = makeSqlitePlace();
  zrhost::PolicyDatabase::init(copy->options(), {true});
  zrhost::ImportOptions options = with(WriteMode::kReplace);
  options.asIs = options.allowDrop = true;
  zrhost::DatabaseInput input(place->options());
  EXPECT_EQ(zrhost::importRows(input, copy->options(), options).read, 3U);
  const std::string original = exported();
  place = makeSqlitePlace();
  zrhost::DatabaseInput back(copy->options());
  init();
  zrhost::importRows(back, place->options(), options);
  EXPECT_EQ(exported(), original);
}

// What a table without rules of its own holds, and an input that is no whole file.
TEST_P(Import, FailureNamesItsPlaceAndChangesNothing) {
  makeLooseTables();
  place->run("INSERT INTO ep_link VALUES ('3', '1', 'u', '7', 'high')");
  zrhost::DatabaseInput loose(place->options());
  std::vector<std::string> texts;
  zrhost::ImportOptions options;
  options.onRejected = [&texts](const std::string& text) { texts.push_back(text); };
  const auto target = makeSqlitePlace();
  zrhost::PolicyDatabase::init(target->options(), {});
  EXPECT_EQ(failureOf([&] { zrhost::importRows(loose, target->options(), options); }).kind, ErrorKind::kBadRow);
  EXPECT_THAT(texts, ElementsAre(testing::StartsWith("ep_link, link_id 3: priority is 'high'")));
  init(false, true);
  const std::string whole = jsonLines(kPolicies + link("a"));
  for (const std::string& broken :
       {std::string(), whole.substr(0, whole.size() - 12),
        std::string("\x7F"
                    "ELF\0\1",
                    6),
        std::string("a,b\n1,2\n"), std::string("entity_type,entity_name,policy_id,priority\nuser,\"a,1,1\n"),
        whole.substr(15)}) {
    EXPECT_EQ(failureOf([&] { import(broken); }).kind, ErrorKind::kBadRow) << broken;
  }
  EXPECT_EQ(failureOf([&] { importFile(folder.file("missing")); }).kind, ErrorKind::kNoInput);
  EXPECT_EQ(exported(), jsonLines(""));
}

}  // namespace
}  // namespace zrtest
