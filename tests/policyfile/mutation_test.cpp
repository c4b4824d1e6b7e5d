#include <gtest/gtest.h>
#include <random>

#include "common/temp_folder.h"
#include "host/policyfile/RejectWriter.h"
#include "policyfile/seen_rows.h"

namespace zrtest {
namespace {

const std::string kJsonText = jsonFile({
    R"({"policy":{"policy_id":1,"policy_type":2,"policy_name":"p\u00f6 \"x\"","is_default":0}})",
    R"({"rule":{"policy_id":1,"position":2,"rule_id":3,"rule_type":247,"rule_name":"","ldap_setting":1,"action":"x"}})",
    R"({"link":{"link_id":7,"entity_type":5,"entity_name":"10.0.0.1 ~ 10.0.0.9","policy_id":-20,"priority":1}})",
    R"({"member":{"group_name_base64":"/w==","user_name":"jo"},"reason":"once"})",
});
const std::string kCsv =
    "link_id,entity_type,entity_name,entity_name_base64,policy_id,priority,reason\r\n"
    "7,IP_RANGE,10.0.0.1 ~ 10.0.0.9,,1,10,\r\n"
    ",1,\"jo\"\"hn\r\n\",,1,10,\"why, oh why\"\r\n"
    "8,6,,/w==,1,10,\r\n";

std::string mutated(std::string text, std::mt19937& random) {
  constexpr std::string_view kBytes("{}[]\":,\\\n\r\0\xff\xef-1eE.0 au", 22);
  for (auto changes = 1 + random() % 4; changes > 0 && !text.empty(); --changes) {
    const std::size_t at = random() % text.size();
    const char byte = kBytes[random() % kBytes.size()];
    switch (random() % 4) {
      case 0:
        text[at] = byte;
        break;
      case 1:
        text.insert(at, 1, byte);
        break;
      case 2:
        text.erase(at, 1 + random() % 8);
        break;
      default:
        text.insert(at, text.substr(random() % text.size(), random() % 40));
    }
  }
  return text;
}

// Every line is a row, a fault, or ends the reading with an error; a row that gets through is one that a table takes.
TEST(PolicyFileMutation, NoBytesBreakTheReader) {
  const TempFolder folder;
  std::mt19937 random(7);
  for (int i = 0; i < 3000; ++i) {
    const std::string text = mutated(i % 2 == 0 ? kJsonText : kCsv, random);
    const Reading reading(folder.write("f", text));
    EXPECT_LE(reading.rows.size() + reading.faults.size(), 60U) << text;
    EXPECT_EQ(reading.kind.value_or(zrhost::ErrorKind::kBadRow), zrhost::ErrorKind::kBadRow) << text;
    for (const std::string& row : reading.rows)
      EXPECT_EQ(row.find(" - "), row.rfind("link - ", 0) == 0 ? 4U : std::string::npos) << text;
  }
}

// What was rejected is in the rejects file, once, and that is a policy file whatever was rejected.
TEST(PolicyFileMutation, RejectsOfAnyBytesCanBeFedBack) {
  const TempFolder folder;
  std::mt19937 random(21);
  std::size_t rejected = 0;
  for (int i = 0; i < 600; ++i) {
    const std::string text = mutated(i % 2 == 0 ? kJsonText : kCsv, random);
    const std::string path = folder.write("f", text);
    const Reading reading(path);
    if (reading.kind) continue;
    zrhost::RejectWriter rejects(folder.file("rejects"), zrhost::PolicyFileReader(path).shape());
    for (const zrhost::RowFault& fault : reading.faults)
      rejects.reject(fault);
    rejects.commit();
    const Reading again(folder.file("rejects"));
    EXPECT_EQ(again.error, "") << text;
    EXPECT_TRUE(again.rows.empty()) << text;
    EXPECT_EQ(again.faults.size(), reading.faults.size()) << text;
    rejected += reading.faults.size();
  }
  EXPECT_GT(rejected, 100U);
}

TEST(PolicyFileMutation, AFileThatWasCutIsNeverTaken) {
  const TempFolder folder;
  const std::size_t whole = kJsonText.size() - 1;  // the last line needs no end
  for (std::size_t length = 0; length < whole; ++length)
    EXPECT_NE(Reading(folder.write("f", kJsonText.substr(0, length))).error, "") << length;
  // A lost line, anywhere.
  for (std::size_t at = kJsonText.find('\n'); at + 1 < whole; at = kJsonText.find('\n', at + 1)) {
    std::string text = kJsonText;
    EXPECT_NE(Reading(folder.write("f", text.erase(at, text.find('\n', at + 1) - at))).error, "") << at;
  }
}

}  // namespace
}  // namespace zrtest
