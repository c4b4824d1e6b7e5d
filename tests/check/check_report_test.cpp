#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "check/check_rows.h"
#include "host/check/FindingReport.h"

namespace zrtest {
namespace {

using nlohmann::json;
using zrhost::ReportFormat;

// The report of such rows; with a file each row stands on line 4 of it.
std::string reportOf(ReportFormat format, const std::string& rows, const std::string& file = "") {
  std::string text;
  const auto report = zrhost::makeFindingReport(format, "1.2.3", [&text](std::string_view part) { text += part; });
  const zrhost::RowPlace place{file, 4};
  zrhost::CheckOptions options;
  options.least = zrhost::Severity::kNote;
  if (!file.empty()) options.place = &place;
  options.onFinding = [&report](const zrhost::Finding& finding) { report->add(finding); };
  zrhost::CheckSink sink(options);
  feed(sink, rows);
  report->finish(sink.finish());
  return text;
}

const std::string kGood = goodPolicy(1, true);

TEST(CheckReport, TextIsForPeopleAndSafeForATerminal) {
  EXPECT_EQ(reportOf(ReportFormat::kText, kGood), "no findings\n");
  EXPECT_EQ(reportOf(ReportFormat::kText, kGood + "link|-5|6|A\x1b[2J\xff|1|1\nlink|6|4|10.1|1|1", "a b.jsonl"),
            "a b.jsonl:4: ep_link, link_id -5: error: the other key 'A\\x1b[2J\\xff' has a capital letter, so that no "
            "question finds it [capital-name]\n    write it as 'a\\x1b[2j\\xff'\n"
            "a b.jsonl:4: ep_link, link_id 6: warning: '10.1' is read as 10.0.0.1 [odd-address]\n"
            "    write it as '10.0.0.1'\n"
            "1 error, 1 warning\n");
  EXPECT_THAT(reportOf(ReportFormat::kText, kGood + "member|g|" + std::string(100000, 'X')),
              testing::SizeIs(testing::Lt(2000U)));
}

TEST(CheckReport, JsonIsOneDocumentWithTheKeyAsTheTablesHaveIt) {
  EXPECT_EQ(json::parse(reportOf(ReportFormat::kJson, kGood)),
            json::parse(R"({"findings":[],"summary":{"error":0,"warning":0,"note":0}})"));
  const std::string rows = kGood + "link|7|4|10.1|1|1\nlink|x|1|u|1|1\nmember|12|NULL";
  const json document = json::parse(reportOf(ReportFormat::kJson, rows));
  EXPECT_EQ(document["findings"][0], json::parse(R"({"code":"odd-address","severity":"warning","table":"ep_link",
      "key":{"link_id":7},"line":null,"message":"'10.1' is read as 10.0.0.1","remedy":"write it as '10.0.0.1'"})"));
  EXPECT_EQ(document["findings"][1]["key"], json::parse(R"({"link_id":"x"})"));
  EXPECT_EQ(document["findings"][2]["key"], json::parse(R"({"group_name":"12","user_name":null})"));
  EXPECT_EQ(document["summary"], json::parse(R"({"error":2,"warning":1,"note":0})"));
  EXPECT_EQ(json::parse(reportOf(ReportFormat::kJson, kGood + "link|7|1|A\xff|1|1", "f"))["findings"][0]["line"], 4);
  EXPECT_EQ(json::parse(reportOf(ReportFormat::kJson, goodPolicy(1) + "link|7|1|a|1|1"))["findings"][0]["key"],
            json::object());
}

TEST(CheckReport, SarifNamesEveryCodeAsARuleAndPlacesResultsInTheFile) {
  const json document = json::parse(reportOf(ReportFormat::kSarif, kGood + "link|7|4|10.1|1|1", "/etc/a b.jsonl"));
  EXPECT_EQ(document["version"], "2.1.0");
  const json& run = document["runs"][0];
  EXPECT_EQ(run["tool"]["driver"]["version"], "1.2.3");
  EXPECT_EQ(run["tool"]["driver"]["rules"].size(), zrhost::kFindingKinds.size());
  const json& result = run["results"].at(0);
  EXPECT_EQ(result["ruleId"], "odd-address");
  EXPECT_EQ(run["tool"]["driver"]["rules"][result["ruleIndex"].get<std::size_t>()]["id"], "odd-address");
  EXPECT_EQ(result["level"], "warning");
  EXPECT_EQ(result["message"]["text"], "'10.1' is read as 10.0.0.1; write it as '10.0.0.1'");
  EXPECT_EQ(result["locations"],
            json::parse(R"([{"physicalLocation":{"artifactLocation":{"uri":"file:///etc/a%20b.jsonl"},
      "region":{"startLine":4}},"logicalLocations":[{"fullyQualifiedName":"ep_link, link_id 7"}]}])"));
  EXPECT_EQ(json::parse(reportOf(ReportFormat::kSarif, kGood))["runs"][0]["results"], json::array());
}

}  // namespace
}  // namespace zrtest
