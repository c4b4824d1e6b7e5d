#include "host/import/Fix.h"

#include <gmock/gmock.h>

#include "host/host_test_support.h"

namespace zrtest {
namespace {

using testing::ElementsAre;

class Fix : public EveryDatabase {
 protected:
  // The codes of what is left.
  std::vector<std::string> fix(bool dryRun = false, zrhost::Severity least = zrhost::Severity::kWarning) {
    fixed.clear();
    std::vector<std::string> left;
    zrhost::FixOptions options;
    options.dryRun = dryRun;
    options.check.least = least;
    options.check.onFinding = [&left](const zrhost::Finding& finding) { left.push_back(kindOf(finding.code).name); };
    options.onFixed = [this](const std::string& text) { fixed.push_back(text); };
    const std::uint64_t total = zrhost::fixRows(place->options(), options).total();
    EXPECT_EQ(total, left.size());
    return left;
  }

  std::vector<std::string> fixed;
};
INSTANTIATE_TEST_SUITE_P(, Fix, testing::Values("SQLite", "PostgreSQL"), [](const auto& info) { return info.param; });

TEST_P(Fix, WhatHasOneSureRemedyIsMendedAndTheRestIsLeft) {
  init();
  place->run(
      "INSERT INTO policy VALUES (1, 1, 'a', 1); INSERT INTO policy_rule VALUES (1, 1, 1, 247, 'r', 0, 'OK');"
      "INSERT INTO ep_link VALUES (1, 1, 'John ', 1, 9), (2, 4, '010.0.0.1', 1, 1), (3, 5, '10.0.0.1', 1, 1),"
      "(4, 5, '10.0.0.2 ~ 10.0.0.02', 1, 1), (5, 5, '10.0.0.3 ~ 10.0.0.3', 1, 1), (6, 1, 'john', 1, 1),"
      "(7, 4, '10.0.1.0/24', 1, 1), (8, 5, '10.0.0.9 ~ 10.0.0.1', 1, 1), (9, 3, 'relay.', 1, 1);"
      "INSERT INTO group_member VALUES ('Sales', 'ann'), ('sales', 'ann'), ('sales ', 'Ann'), ('sales', 'Bob')");
  const std::string all = "SELECT link_id || ' ' || entity_type || ' ' || entity_name FROM ep_link ORDER BY link_id";
  const std::string before = place->run(all);
  EXPECT_THAT(fix(true, zrhost::Severity::kError), ElementsAre("reversed-range"));
  EXPECT_EQ(fixed.size(), 7U) << "less severe findings are left alone: odd addresses, but not ranges of one";
  EXPECT_THAT(fix(true), ElementsAre("reversed-range", "duplicate-link"));
  const std::vector<std::string> announced = fixed;
  EXPECT_EQ(place->run(all), before);
  EXPECT_THAT(fix(), ElementsAre("reversed-range", "duplicate-link"));
  EXPECT_EQ(fixed, announced);
  EXPECT_EQ(fixed.front(), "ep_link, link_id 1: entity_name 'John ' becomes 'john'");
  EXPECT_EQ(place->run(all),
            "1 1 john\n2 4 8.0.0.1\n3 4 10.0.0.1\n4 4 10.0.0.2\n5 4 10.0.0.3\n6 1 john\n7 5 10.0.1.0 ~ 10.0.1.255\n"
            "8 5 10.0.0.9 ~ 10.0.0.1\n9 3 relay.\n");
  EXPECT_EQ(place->run("SELECT group_name || ' ' || user_name FROM group_member ORDER BY user_name"),
            "sales ann\nsales bob\n");
  const std::int64_t revision = zrhost::PolicyDatabase(place->options()).revision().revision;
  fix();
  EXPECT_TRUE(fixed.empty());
  EXPECT_EQ(zrhost::PolicyDatabase(place->options()).revision().revision, revision);
}

// A row that is wrong in another way, too, is a person's as a whole.
TEST_P(Fix, RowsThatNoTableWouldTakeStayAsTheyAre) {
  makeLooseTables();
  place->run("INSERT INTO ep_link VALUES ('1', '1', 'John', '77', '1'), ('2', '1', 'Ann', '1', 'high')");
  EXPECT_THAT(fix(), ElementsAre("unknown-policy", "capital-name", "bad-row", "capital-name", "no-selected-rule"));
  EXPECT_TRUE(fixed.empty());
  place->run(
      "DELETE FROM ep_link; INSERT INTO ep_link VALUES ('3', '1', 'Ann', '1', '1'), ('3', '1', 'Bob', '1', '2')");
  fix();
  EXPECT_EQ(place->run("SELECT entity_name FROM ep_link ORDER BY priority"), "Ann\nBob\n") << "they have one key";
}

}  // namespace
}  // namespace zrtest
