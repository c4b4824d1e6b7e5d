#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/temp_folder.h"
#include "host/policyfile/PolicyFileSource.h"
#include "policyfile/seen_rows.h"

namespace zrtest {
namespace {

using testing::ElementsAre;

std::string link(const std::string& id, const std::string& name, const std::string& priority) {
  return "{\"link\":{" + (id.empty() ? "" : "\"link_id\":" + id + ",") + "\"entity_type\":1,\"entity_name\":\"" + name +
         "\",\"policy_id\":1,\"priority\":" + priority + "}}";
}

std::string policy(const std::string& id) {
  return R"({"policy":{"policy_type":1,"policy_name":"p","is_default":0,"policy_id":)" + id + "}}";
}

TEST(PolicyFileSource, RowsComeInTheOrderOfALoadingWithTheirPlaces) {
  const TempFolder folder;
  zrhost::PolicyFileSource source(folder.write(
      "f",
      jsonFile({
          R"({"member":{"group_name":"b","user_name":"a"}})",
          link("2147483647", "last ID", "5"),
          link("", "lowest free", "5"),
          link("-3", "x", "-1"),
          link("1", "y", "5"),
          link("1", "same key", "5"),
          R"({"rule":{"policy_id":10,"position":2,"rule_id":1,"rule_type":1,"rule_name":"","ldap_setting":0,"action":""}})",
          R"({"rule":{"policy_id":10,"position":-2,"rule_id":1,"rule_type":1,"rule_name":"","ldap_setting":0,"action":""}})",
          policy("10"),
          policy("9"),
          R"({"member":{"group_name":"b","user_name":"A"}})",
          R"({"link":{"link_id":5,"entity_type":99,"entity_name":null,"policy_id":99999999999,"priority":7}})",
      })));
  for (int time = 0; time < 2; ++time) {
    SeenRows seen;
    seen.place = &source.place();
    EXPECT_EQ(source.read(seen), zrhost::Revision{});
    EXPECT_THAT(seen.rows,
                ElementsAre("policy 9 1 p 0", "policy 10 1 p 0", "rule 10 -2 1 1  0 ", "rule 10 2 1 1  0 ",
                            "link -3 1 x 1 -1", "link 1 1 y 1 5", "link 1 1 same key 1 5", "link 2 1 lowest free 1 5",
                            "link 2147483647 1 last ID 1 5", "link 5 99 - 99999999999 7", "member b A", "member b a"));
    EXPECT_THAT(seen.places, ElementsAre("11", "10", "9", "8", "5", "6", "7", "4", "3", "13", "12", "2"));
    EXPECT_EQ(source.place().file, folder.file("f"));
  }
}

TEST(PolicyFileSource, LinksWithoutIdComeBehindTheLargest) {
  const TempFolder folder;
  zrhost::PolicyFileSource source(
      folder.write("f", "link_id,entity_type,entity_name,policy_id,priority\n,1,a,1,1\n41,1,b,1,1\n,1,c,1,1\n"));
  SeenRows seen;
  seen.place = &source.place();
  source.read(seen);
  EXPECT_THAT(seen.rows, ElementsAre("link 41 1 b 1 1", "link 42 1 a 1 1", "link 43 1 c 1 1"));
}

TEST(PolicyFileSource, NothingIsPushedFromAFileWithFaults) {
  const TempFolder folder;
  const std::string file = folder.write("f", jsonFile({link("1", "a", "1"), "x", "y", link("2", "a", "2147483648")}));
  int faults = 0;
  zrhost::PolicyFileSource telling(file, [&](const zrhost::RowFault&) { ++faults; });
  zrhost::PolicyFileSource comparing(file);
  SeenRows seen;
  auto [kind, text] = failureOf([&] { telling.read(seen); });
  EXPECT_EQ(kind, zrhost::ErrorKind::kBadRow);
  EXPECT_EQ(text, file + ": 2 lines are no rows; correct them");
  EXPECT_EQ(faults, 2);
  std::tie(kind, text) = failureOf([&] { comparing.readByKey(seen); });
  EXPECT_EQ(kind, zrhost::ErrorKind::kBadRow);
  EXPECT_THAT(text, testing::AllOf(testing::StartsWith(file + ", line 3, column 1: no JSON"),
                                   testing::EndsWith("(3 such lines in all)")))
      << "a number out of range, too";
  EXPECT_TRUE(seen.rows.empty());
}

}  // namespace
}  // namespace zrtest
