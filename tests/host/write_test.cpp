#include <gmock/gmock.h>
#include <random>

#include "host/database/PolicyWriter.h"
#include "host/host_test_support.h"
#include "host/write_model.h"

using testing::ElementsAre;
using testing::HasSubstr;
using zrhost::Changes;
using zrhost::LinkRow;
using zrhost::MemberRow;
using zrhost::PolicyRow;
using zrhost::PolicyTable;
using zrhost::PolicyWriter;
using zrhost::RuleRow;
using zrhost::StagedFault;
using zrhost::WriteMode;

namespace zrtest {
namespace {

class Write : public EveryDatabase {
 protected:
  WriteModel content() {
    WriteModel all;
    zrhost::PolicyDatabase(place->options()).readByKey(all);
    return all;
  }
};
INSTANTIATE_TEST_SUITE_P(, Write, testing::Values("SQLite", "PostgreSQL"), [](const auto& info) { return info.param; });

template <typename Row>
void stageAs(PolicyWriter& writer, const GivenRow& given) {
  Row row;
  const auto fields = fieldsOf(row);
  for (std::size_t i = 0; i < fields.size(); ++i)
    *fields[i] = given.fields[i];
  writer.stage(given.number, row);
}

void stage(PolicyWriter& writer, const GivenRow& row) {
  constexpr decltype(&stageAs<PolicyRow>) kStage[] = {stageAs<PolicyRow>, stageAs<RuleRow>, stageAs<LinkRow>,
                                                      stageAs<MemberRow>};
  kStage[static_cast<std::size_t>(row.table)](writer, row);
}

// Rows out of few keys, so that they meet, with texts that statements and drivers could take for something else.
class RandomRows {
 public:
  std::vector<GivenRow> rows(bool onlyUtf8) {
    std::vector<GivenRow> rows;
    const int many = upTo(3) == 0 ? 300 : 12;
    for (int number = upTo(many); number > 0; --number)
      rows.push_back({static_cast<PolicyTable>(upTo(4)), rows.size() * 3 + 1, {}});
    for (GivenRow& row : rows)
      fill(row, onlyUtf8);
    return rows;
  }
  int upTo(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }

 private:
  std::string number(int end) { return std::to_string(upTo(end)); }
  std::string text(bool onlyUtf8) {
    static const std::string texts[] = {"a",
                                        "",
                                        "NULL",
                                        "A",
                                        "'",
                                        "\\\"{,}",
                                        "%s?",
                                        "\x01\n\r\t\x1f",
                                        "\xc3\xa9\xf0\x9f\x98\x80",
                                        std::string(70000, 'x') + "\\",
                                        " b ",
                                        "\xff\\\xc3",
                                        "\xed\xa0\x80"};
    return texts[upTo(onlyUtf8 ? 11 : 13)];
  }
  void fill(GivenRow& row, bool onlyUtf8) {
    static const std::string ids[] = {"-2147483648", "-1", "0", "1", "2", "3", "4", "9", "2147483646", "2147483647"};
    auto& fields = row.fields;
    switch (row.table) {
      case PolicyTable::kPolicy:
        fields = {number(5), number(2), text(onlyUtf8), number(2)};
        break;
      case PolicyTable::kRule:
        fields = {number(6), number(3), "1", "247", text(onlyUtf8), number(2), "a"};
        break;
      case PolicyTable::kLink:
        fields = {ids[upTo(upTo(3) == 0 ? 10 : 8)], std::to_string(1 + upTo(2)), text(onlyUtf8), number(6), number(2)};
        if (upTo(2) == 0) fields[0].reset();
        break;
      case PolicyTable::kMember:
        fields = {"g" + number(2), text(onlyUtf8).substr(0, 99)};
        break;
    }
  }
  std::mt19937 m_random{20};
};

bool isAny(const Changes& changes) {
  return std::ranges::any_of(changes, [](const auto& each) { return each.added + each.changed + each.removed != 0; });
}

void expectEqual(const Changes& changes, const Changes& expected) {
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const auto of = [](const zrhost::TableChanges& each) {
      return std::vector{each.added, each.changed, each.removed, each.unchanged};
    };
    EXPECT_EQ(of(changes[i]), of(expected[i])) << zrhost::formatOf(static_cast<PolicyTable>(i)).name;
  }
}

// Stages the rows in the writer, and has it and the model look through and apply them; whether anything changed.
bool applyToBoth(PolicyWriter& writer, WriteModel& model, std::vector<GivenRow> rows, WriteMode mode) {
  for (const GivenRow& row : rows)
    stage(writer, row);
  WriteModel::Faults faults;
  std::uint64_t last = 0;
  writer.rejectFaults(mode, [&](const StagedFault& fault) {
    EXPECT_LT(std::exchange(last, fault.number), fault.number);
    EXPECT_TRUE(fault.kind != StagedFault::Kind::kTwice || (fault.earlier != 0 && fault.earlier < fault.number));
    faults[fault.number] = fault.kind;
  });
  EXPECT_EQ(faults, model.reject(rows, mode));
  const Changes expected = model.apply(rows, mode);
  expectEqual(writer.apply(mode), expected);
  return isAny(expected);
}

TEST_P(Write, RandomRowsDoWhatTheyDoToPlainMapsAndTheRevisionRisesWithEveryChangeAndNoOther) {
  init();
  RandomRows random;
  const bool onlyUtf8 = std::string(GetParam()) != "SQLite";
  WriteModel model = content();
  for (int round = 0; round < 40 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    PolicyWriter writer(place->options());
    WriteModel after = model;
    bool changed = false;
    for (int times = 1 + random.upTo(3); times > 0; --times) {
      const auto mode = static_cast<WriteMode>(random.upTo(3));
      changed |= applyToBoth(writer, after, random.rows(onlyUtf8), mode);
    }
    WriteModel seen;
    writer.readByKey(seen);
    EXPECT_EQ(seen.tables(), after.tables());
    EXPECT_EQ(writer.counts().links, after.tables()[2].size());
    const bool commits = random.upTo(5) != 0;
    if (commits) writer.commit();
    const std::int64_t revision = model.revision();
    model = content();
    EXPECT_TRUE(!commits || model.tables() == after.tables());
    EXPECT_EQ(model.revision() > revision, commits && changed);
  }
}

}  // namespace
}  // namespace zrtest
