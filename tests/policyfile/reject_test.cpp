#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/temp_folder.h"
#include "host/policyfile/RejectWriter.h"
#include "policyfile/seen_rows.h"

namespace zrtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Reads a file and writes its faults, and behind them a link that somebody refused, to `rejects`.
void rejectFaults(const std::string& path, const std::string& rejects) {
  zrhost::PolicyFileReader reader(path);
  SeenRows seen;
  reader.read(seen);
  zrhost::RejectWriter writer(rejects, reader.shape());
  for (const zrhost::RowFault& fault : seen.faults)
    writer.reject(fault);
  zrhost::LinkRow refused{std::nullopt, "1", "jo,hn", "99", "10"};
  writer.reject(refused, "there is no policy 99");
  EXPECT_EQ(writer.rejected(), seen.faults.size() + 1);
  writer.commit();
}

TEST(PolicyFileReject, LinesOfJsonComeBackWithAReasonAsOftenAsTheyAreFedBack) {
  const TempFolder folder;
  std::string path = folder.write(
      "in", jsonFile({
                R"({"link":{"priority":"x, \"reason\":\"y\"","entity_type":1,"entity_name":"a","policy_id":1}})",
                "{\"member\":{\"group_name\":\"g\",\"user_name\":\"u\"}}",
                " { } ",
                "no\tJSON",
                "\xff",
            }));
  for (const char* round : {"first", "second"}) {
    rejectFaults(path, folder.file(round));
    path = folder.file(round);
  }
  const std::string fed = readFile(folder.file("second"));
  EXPECT_THAT(fed,
              HasSubstr("{\"zrpolicy\":1}\n"
                        R"({"link":{"priority":"x, \"reason\":\"y\"","entity_type":1,"entity_name":"a","policy_id":1},)"
                        R"("reason":"\"priority\" is a text, not a number"})"
                        "\n"
                        R"({"reason":"an object without a row"})"
                        "\n"
                        R"({"unreadable":"no\tJSON","reason":"was rejected before; put the mended row in its place"})"
                        "\n"
                        R"({"unreadable_base64":"/w==","reason":"was rejected before; put)"));
  // The refused link was a good row for the second reading, so it is there once.
  EXPECT_THAT(fed, HasSubstr(R"({"link":{"entity_type":1,"entity_name":"jo,hn","policy_id":99,"priority":10},)"
                             R"("reason":"there is no policy 99"})"
                             "\n{\"end\":5}\n"));
}

TEST(PolicyFileReject, RecordsOfCsvKeepTheirColumns) {
  const TempFolder folder;
  std::string path = folder.write(
      "in", "priority,entity_name,policy_id,entity_type\nten,\"a\"\"b\",1,USER\n1,a,1\n1,\"a\"b,1,1\n1,c,1,1\n");
  const std::string expected =
      "priority,entity_name,policy_id,entity_type,reason\r\n"
      "ten,\"a\"\"b\",1,USER,\"priority is 'ten', not a whole number from -2147483648 to 2147483647\"\r\n";
  rejectFaults(path, folder.file("first"));
  EXPECT_EQ(
      readFile(folder.file("first")),
      expected +
          "1,a,1,\"3 fields, where the header line has 4\"\r\n"
          "\"1,\"\"a\"\"b,1,1\",\"a quote inside of a field without quotes, or something behind a closing quote\"\r\n"
          "10,\"jo,hn\",99,1,there is no policy 99\r\n");
  rejectFaults(folder.file("first"), folder.file("second"));
  EXPECT_THAT(readFile(folder.file("second")), HasSubstr(expected));

  std::string mended = readFile(folder.file("first"));
  mended = mended.substr(0, mended.find("1,a,1,"));
  mended.replace(mended.find("\r\nten"), 5, "\r\n10");
  EXPECT_THAT(Reading(folder.write("mended", mended)).rows, ElementsAre("link - 1 a\"b 1 10"));
}

TEST(PolicyFileReject, AFolderGivesAFolder) {
  const TempFolder folder;
  folder.write("policy.csv", "policy_id,policy_type,policy_name,is_default\n1,2,one,5\n");
  folder.write("policy_rule.csv", "policy_id,position,rule_id,rule_type,rule_name,ldap_setting,action\n");
  folder.write("ep_link.csv", "entity_type,entity_name,policy_id,priority\n");
  folder.write("group_member.csv", "group_name,user_name\n");
  rejectFaults(folder.path().string(), folder.file("rejects"));
  const Reading reading(folder.file("rejects"));
  ASSERT_EQ(reading.faults.size(), 1U);
  EXPECT_EQ(reading.faults[0].reason, "is_default is '5', not a whole number from 0 to 1");
  EXPECT_THAT(reading.rows, ElementsAre("link - 1 jo,hn 99 10"));
}

}  // namespace
}  // namespace zrtest
