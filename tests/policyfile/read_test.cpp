#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/temp_folder.h"
#include "policyfile/seen_rows.h"

namespace zrtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using zrhost::ErrorKind;

constexpr const char* kLinkHeader = "entity_type,entity_name,policy_id,priority\n";
constexpr const char* kFolder[][2] = {
    {"policy.csv", "policy_id,policy_type,policy_name,is_default\n1,2,one,0\n"},
    {"policy_rule.csv",
     "policy_id,position,rule_id,rule_type,rule_name,ldap_setting,action\n1,1,5,247,r,0,\"a,\"\"b\"\n"},
    {"ep_link.csv", "link_id,entity_type,entity_name,entity_name_base64,policy_id,priority\n7,ip_range,,/w==,1,10\n"},
    {"group_member.csv", "group_name,user_name\nsales,jo\n"},
};

void writeFolder(const TempFolder& folder) {
  for (const auto& [name, content] : kFolder)
    folder.write(name, content);
}

TEST(PolicyFileRead, RowsOfEveryTableComeInTheOrderOfTheFile) {
  const TempFolder folder;
  const std::string lines = jsonFile({
      R"({"member":{"group_name":"sales","user_name":"J\u00f6 \"x\"\n"}})",
      R"({"link":{"link_id":7,"entity_type":1,"entity_name":"john","policy_id":-20,"priority":2147483647}})",
      R"({"link":{"priority":1,"policy_id":2,"entity_name_base64":"/wA=","entity_type":6},"reason":"once"})",
      R"({"rule":{"policy_id":1,"position":2,"rule_id":3,"rule_type":247,"rule_name":"","ldap_setting":1,"action":"x"}})",
      "",
      R"( {"reason":"first","policy":{"policy_id":1,"policy_type":2,"policy_name":"p","is_default":0}})",
  });
  std::string counted = lines;
  counted.replace(counted.find("\"end\":6"), 7, "\"end\":5");  // an empty line is no row
  std::string windows = "\xEF\xBB\xBF";
  for (const char c : counted)
    windows += c == '\n' ? "\r\n" : std::string(1, c);
  for (const std::string& text : {counted, windows, counted + "\n\n", counted.substr(0, counted.size() - 1)}) {
    const Reading reading(folder.write("f", text));
    EXPECT_THAT(reading.rows,
                ElementsAre("member sales J\xc3\xb6 \"x\"\n", "link 7 1 john -20 2147483647",
                            std::string("link - 6 \xff\0 2 1", 15), "rule 1 2 3 247  1 x", "policy 1 2 p 0"));
    EXPECT_THAT(reading.places, ElementsAre("2", "3", "4", "5", "7"));
    EXPECT_EQ(reading.error, "");
    EXPECT_TRUE(reading.faults.empty());
  }
}

TEST(PolicyFileRead, CsvIsTakenAsAFolderAndAsOneTable) {
  const TempFolder folder;
  writeFolder(folder);
  const Reading all(folder.path().string());
  EXPECT_THAT(all.rows,
              ElementsAre("policy 1 2 one 0", "rule 1 1 5 247 r 0 a,\"b", "link 7 5 \xff 1 10", "member sales jo"));

  const std::pair<const char*, const char*> files[] = {
      {"entity_type,entity_name,policy_id,priority\nUSER,john,20,10\n", "link - 1 john 20 10"},
      {"\xEF\xBB\xBF"
       "entity_type,entity_name,policy_id,priority\r\n4,10.0.0.1,007,-1\r\n\r\n",
       "link - 4 10.0.0.1 7 -1"},
      {"priority,policy_id,reason,entity_name,entity_type\n10,20,\"why,\",\" john \",other", "link - 6  john  20 10"},
      {"link_id,entity_type,entity_name,policy_id,priority\n,Hostname,\"a\r\nb\",1,2\n", "link - 3 a\r\nb 1 2"},
      {"user_name,group_name\njo,\n", "member  jo"},
  };
  for (const auto& [text, row] : files)
    EXPECT_THAT(Reading(folder.write("single.csv", text)).rows, ElementsAre(row)) << text;
}

TEST(PolicyFileRead, PlacesOfCsvAreThoseWhereRecordsBegin) {
  const TempFolder folder;
  const Reading reading(folder.write(
      "f", std::string(kLinkHeader) + "1,\"a\nb\",1,1\n\n1,c,1,1\n1,d\"e,1,1\n1,\"f\nx\"y,1,1\n1,g,1,1\n"));
  EXPECT_THAT(reading.places, ElementsAre("2", "5", "9"));
  ASSERT_EQ(reading.faults.size(), 2U);
  EXPECT_THAT(reading.faults[0].text(), HasSubstr("line 6, column 4: a quote inside of a field"));
  EXPECT_THAT(reading.faults[1].text(), HasSubstr("line 7, column 3: "));
  EXPECT_THAT(reading.faults[1].text(), HasSubstr("in line 8"));
}

// Each is one line in the middle of a file that goes on behind it.
TEST(PolicyFileRead, ALineThatIsNoRowIsReportedWithItsPlaceAndTheRestIsRead) {
  const TempFolder folder;
  const std::string good = R"({"member":{"group_name":"g","user_name":"u"}})";
  const std::pair<std::string, const char*> lines[] = {
      {"{\"link\":{\"link_id\":1,}}", "line 3, column 22: no JSON: syntax error while parsing object key"},
      {"nonsense", "line 3, column 2: no JSON: "},
      {"{\"member\":{\"group_name\":\"\xff\"", "line 3, column 26: no JSON: "},
      {good + " " + good, "line 3, column 47: no JSON: "},
      {"[1]", "no JSON object, but an array"},
      {"{}", "an object without a row"},
      {"{\"reason\":\"x\"}", "an object without a row"},
      {R"({"unreadable":"nonsense"})", "was rejected before"},
      {R"({"links":{}})", "column 2: \"links\" is no row: policy, rule, link or member is expected"},
      {R"({"link":[]})", "\"link\" is no object"},
      {R"({"member":{"group_name":"g","user_name":"u"},"policy":{}})",
       "column 46: \"policy\" is a second row on one line"},
      {R"({"member":{"group_name":"g","user_name":"u","x":1}})", "column 45: \"x\" is no member of a member"},
      {R"({"member":{"group_name":"g"}})", "\"user_name\" is missing"},
      {R"({"member":{"group_name":"g","user_name":"u","group_name":"h"}})", "column 45: \"group_name\" stands twice"},
      {R"({"member":{"group_name":"g","user_name":"u","user_name_base64":""}})", "\"user_name_base64\" stands twice"},
      {R"({"member":{"group_name":"g","user_name_base64":"/x=="}})", "\"user_name_base64\" is no Base64"},
      {R"({"member":{"group_name":5,"user_name":"u"}})", "\"group_name\" is a number, not a text"},
      {R"({"member":{"group_name":null,"user_name":"u"}})", "column 12: group_name is NULL"},
      {R"({"link":{"entity_type":1,"entity_name":"a","policy_id":"5","priority":1}})",
       "column 44: \"policy_id\" is a text, not a number"},
      {R"({"link":{"entity_type":7,"entity_name":"a","policy_id":5,"priority":1}})",
       "entity_type is '7', not a whole number from 1 to 6"},
      {R"({"link":{"entity_type":1,"entity_name":"a","policy_id":5,"priority":2147483648}})",
       "priority is '2147483648', not a"},
      {R"({"link":{"entity_type":1,"entity_name":"a","policy_id":5,"priority":1.0}})", "priority is '1.0', not a"},
      {R"({"link":{"entity_type":1,"entity_name":"a","policy_id":5,"priority":true}})",
       "is a truth value, not a number"},
      {R"({"link":{"entity_type":1,"entity_name":"a","policy_id":5,"priority":1e999}})",
       "a number is far out of range"},
      {R"({"link":{"entity_type_base64":"MQ==","entity_name":"a","policy_id":5,"priority":1}})",
       "is no member of a link"},
      {std::string(5000, '[') + std::string(5000, ']'), "nested too deeply"},
  };
  for (const auto& [line, fault] : lines) {
    const Reading reading(folder.write("f", jsonFile({good, line, good})));
    ASSERT_EQ(reading.faults.size(), 1U) << line << reading.error;
    EXPECT_THAT(reading.faults[0].text(), HasSubstr(fault)) << line;
    EXPECT_EQ(reading.faults[0].place.line, 3U);
    EXPECT_EQ(reading.rows.size(), 2U);
    EXPECT_EQ(reading.error, "");
  }
  const std::pair<std::string, const char*> records[] = {
      {"1,a,2", "line 3: 3 fields, where the header line has 4"},
      {"1,a,2,3,4", "line 3: 5 fields, where the header line has 4"},
      {"1,\xff,2,3", "entity_name holds bytes that are no UTF-8; such a text belongs in entity_name_base64"},
      {std::string("1,\0,2,3", 7), "entity_name holds a zero byte"},
      {"1,a,,3", "policy_id is '', not a whole number"},
      {"1,a, 2,3", "policy_id is ' 2', not a whole number"},
      {"DEFAULT,a,2,3", "entity_type is '0', not a whole number from 1 to 6"},
      {"users,a,2,3", "entity_type is 'users'"},
      {"1,\"a\"b,2,3", "column 6: a quote"},
  };
  for (const auto& [record, fault] : records) {
    const Reading reading(folder.write("f", std::string(kLinkHeader) + "1,a,2,3\n" + record + "\n1,b,2,3\n"));
    ASSERT_EQ(reading.faults.size(), 1U) << record << reading.error;
    EXPECT_THAT(reading.faults[0].text(), HasSubstr(fault)) << record;
    EXPECT_THAT(reading.rows, ElementsAre("link - 1 a 2 3", "link - 1 b 2 3"));
  }
}

TEST(PolicyFileRead, ValuesThatNoTableTakesComeAsTheyStandWhenSomebodyElseJudges) {
  const TempFolder folder;
  const Reading reading(
      folder.write(
          "f",
          jsonFile(
              {R"({"link":{"link_id":1,"entity_type":99,"entity_name":null,"policy_id":1.5,"priority":18446744073709551615}})"})),
      false);
  EXPECT_THAT(reading.rows, ElementsAre("link 1 99 - 1.5 18446744073709551615"));
}

TEST(PolicyFileRead, WhatIsNoWholePolicyFileEndsTheReading) {
  const TempFolder folder;
  const std::string row = "{\"member\":{\"group_name\":\"g\",\"user_name\":\"u\"}}\n";
  const std::string longLine(zrhost::kMostLineBytes + 1, 'x');
  const std::pair<std::string, const char*> files[] = {
      {"", "empty, so it is no policy file"},
      {"\n", "not even a header line"},
      {std::string("\x7f"
                   "ELF\0\1\2",
                   7),
       "line 1: no policy file"},
      {"Dear Sir,\n", "line 1: no policy file"},
      {row, "no policy file: its first line is not {\"zrpolicy\":1}"},
      {"{\"zrpolicy\":\n", "but no JSON: "},
      {"{\"zrpolicy\":2}\n{\"end\":0}\n", "a policy file of version 2; this program knows version 1"},
      {"{\"zrpolicy\":1}\n" + row, "line 3: the file was cut: its last line, {\"end\":N}, is missing"},
      {"{\"zrpolicy\":1}\n" + row + "{\"end\":2}\n", "line 3: the end line tells of 2 rows, but 1 stand before it"},
      {jsonFile({}) + row, "line 3: something stands behind the end line"},
      {"{\"zrpolicy\":1}\n" + jsonFile({}), "line 2: a second policy file begins here"},
      {"{\"zrpolicy\":1}\n" + longLine, "line 2: longer than 4194304 bytes"},
      {longLine, "line 1: longer than 4194304 bytes"},
      {std::string(kLinkHeader) + "1,a,2,3\n1,\"a,2,3\n1,a,2,3\n",
       "line 3: a quoted field begins here that never ends"},
      {std::string(kLinkHeader) + "1,\"" + std::string(zrhost::kMostLineBytes / 2, 'x') + "\n" + longLine.substr(9),
       "line 2: longer"},
      {"entity_type,entity_name,policy_id\n", "for ep_link.csv, column priority is missing"},
      {"entity_type,entity_name,policy_id,priority,color\n", "for ep_link.csv, unknown column 'color'"},
      {"user_name,user_name\n", "for group_member.csv, column user_name stands twice"},
      {"entity_type;entity_name;policy_id;priority\n", "semicolons must be commas"},
  };
  for (const auto& [text, error] : files) {
    const Reading reading(folder.write("f", text));
    EXPECT_EQ(reading.kind, ErrorKind::kBadRow) << text.substr(0, 100);
    EXPECT_THAT(reading.error, HasSubstr(error));
    EXPECT_THAT(reading.error, HasSubstr(folder.file("f")));
    EXPECT_LT(reading.error.size(), 600U);
  }
}

TEST(PolicyFileRead, AMissingFileIsToldFromOneThatCannotBeRead) {
  const TempFolder folder;
  EXPECT_EQ(Reading(folder.file("none")).kind, ErrorKind::kNoInput);
  EXPECT_EQ(Reading(folder.write("f", "") + "/none").kind, ErrorKind::kNoInput);
  std::filesystem::create_symlink("loop", folder.file("loop"));
  EXPECT_EQ(Reading(folder.file("loop")).kind, ErrorKind::kInputOutput);

  writeFolder(folder);
  std::filesystem::remove(folder.file("ep_link.csv"));
  const Reading incomplete(folder.path().string());
  EXPECT_EQ(incomplete.kind, ErrorKind::kNoInput);
  EXPECT_THAT(incomplete.error, HasSubstr("ep_link.csv; a folder holds all four tables"));
  folder.write("ep_link.csv", kFolder[3][1]);
  EXPECT_THAT(Reading(folder.path().string()).error,
              HasSubstr("the header line is not that of ep_link.csv: unknown column"));
}

}  // namespace
}  // namespace zrtest
