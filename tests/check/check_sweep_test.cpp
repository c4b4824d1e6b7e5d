#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <random>

#include "check/check_rows.h"

namespace zrtest {
namespace {

struct Link {
  int first, last, policy, priority;
  bool holds(const Link& other) const { return first <= other.first && other.last <= last; }
  bool meets(const Link& other) const { return first <= other.last && other.first <= last; }
};

constexpr int kUnselectedPolicy = 3;

std::string rangeRow(std::size_t id, const Link& link) {
  return "link|" + std::to_string(id) + "|5|10.0.0." + std::to_string(link.first) + " ~ 10.0.0." +
         std::to_string(link.last) + '|' + std::to_string(link.policy) + '|' + std::to_string(link.priority) + '\n';
}

// What is to be found about ranges in the order of loading, by comparing each with all before it.
std::vector<std::string> plainly(const std::vector<Link>& links) {
  std::vector<std::string> expected;
  std::vector<bool> isIdle(links.size());
  const auto note = [&expected](const char* code, std::size_t i) { expected.push_back(code + std::to_string(i)); };
  for (std::size_t i = 0; i < links.size(); ++i) {
    bool isSame = false, isCovered = false, isTied = false;
    for (std::size_t j = 0; j < i; ++j) {
      const Link &link = links[i], &earlier = links[j];
      const bool ofPolicy = link.policy == earlier.policy;
      isSame = isSame || (ofPolicy && link.holds(earlier) && earlier.holds(link));
      isCovered = isCovered || (ofPolicy && earlier.holds(link));
      isTied = isTied || (!ofPolicy && !isIdle[j] && link.priority == earlier.priority && link.meets(earlier) &&
                          link.policy != kUnselectedPolicy && earlier.policy != kUnselectedPolicy);
    }
    isIdle[i] = isCovered;
    if (isSame) note("duplicate-link ", i);
    if (isCovered && !isSame) note("covered-range ", i);
    if (isTied && !isCovered) note("equal-priority ", i);
  }
  return expected;
}

TEST(CheckSweep, RangesAreFoundAsAPlainComparisonOfAllPairsFindsThem) {
  std::mt19937 random(20261125);
  const auto number = [&random](int least, int most) { return std::uniform_int_distribution(least, most)(random); };
  for (int round = 0; round < 150; ++round) {
    std::vector<Link> links;
    std::string rows = goodPolicy(1, true) + goodPolicy(2) + "policy|3|1|n|0\n";
    const int widest = round % 3 == 0 ? 4 : 60, priorities = number(1, 4);
    for (int i = 0; i < 120; ++i) {
      const int first = number(0, 190);
      links.push_back({first, first + number(0, widest), number(1, 3), i * priorities / 120});
      rows += rangeRow(links.size() - 1, links.back());
    }
    std::vector<std::string> found = findingsOf(rows);
    found.erase(std::remove(found.begin(), found.end(), "no-selected-rule 3"), found.end());
    ASSERT_THAT(found, testing::UnorderedElementsAreArray(plainly(links))) << "round " << round;
  }
}

TEST(CheckSweep, RangesThatAllOverlapAreFoundOnceEachWithTheOneThatDecides) {
  std::string rows = goodPolicy(1, true) + goodPolicy(2);
  const int links = 3000;
  for (int i = 0; i < links; ++i) {
    const std::string low = std::to_string(i / 256) + '.' + std::to_string(i % 256);
    rows += "link|" + std::to_string(10 + i) + "|5|10.0." + low + " ~ 11.0." + low + '|' + std::to_string(1 + (i > 0)) +
            "|1\n";
  }
  int ties = 0;
  zrhost::CheckOptions options;
  options.least = zrhost::Severity::kNote;
  options.onFinding = [&ties](const zrhost::Finding& finding) {
    ties += finding.code == zrhost::FindingCode::kEqualPriority;
    EXPECT_THAT(finding.message,
                testing::HasSubstr("of link 10: its smaller link_id decides that policy 1 comes before"));
  };
  zrhost::CheckSink sink(options);
  feed(sink, rows);
  EXPECT_EQ(sink.finish().total(), links - 1U);
  EXPECT_EQ(ties, links - 1);
}

}  // namespace
}  // namespace zrtest
