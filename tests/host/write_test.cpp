#include <gmock/gmock.h>
#include <map>
#include <random>
#include <set>

#include "host/database/PolicyWriter.h"
#include "host/host_test_support.h"

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

// Everything that a database holds, one text a row.
class Content : public zrhost::RowSink {
 public:
  void onRevision(const zrhost::Revision&) override {}
  void onPolicy(PolicyRow& row) override { add("policy", fieldsOf(row)); }
  void onRule(RuleRow& row) override { add("rule", fieldsOf(row)); }
  void onLink(LinkRow& row) override { add("link", fieldsOf(row)); }
  void onMember(MemberRow& row) override { add("member", fieldsOf(row)); }

  std::vector<std::string> rows;

 private:
  template <typename Fields>
  void add(std::string row, const Fields& fields) {
    for (const zrhost::Field* field : fields)
      row += "|" + field->value_or("NULL");
    rows.push_back(row);
  }
};

class Write : public EveryDatabase {
 protected:
  std::vector<std::string> content() {
    Content all;
    revision = zrhost::PolicyDatabase(place->options()).readByKey(all).revision;
    return all.rows;
  }
  std::int64_t revision = 0;
};
INSTANTIATE_TEST_SUITE_P(, Write, testing::Values("SQLite", "PostgreSQL"), [](const auto& info) { return info.param; });

PolicyRow policy(int id, const std::string& name = "p") {
  return {std::to_string(id), "1", name, "0"};
}

LinkRow link(std::optional<int> id, const std::string& name, int policy, int priority) {
  return {id ? zrhost::Field(std::to_string(*id)) : std::nullopt, "1", name, std::to_string(policy),
          std::to_string(priority)};
}

TEST_P(Write, FirstRows) {
  init();
  PolicyWriter writer(place->options());
  const std::string name = "us\xc3\xa9'\"\\{},%s?\x01\n\t" + std::string(200000, 'x');
  writer.stage(1, policy(1, ""));
  writer.stage(2, RuleRow{"1", "-3", "1", "247", "NULL", "0", name});
  writer.stage(3, link(7, name, 1, 5));
  writer.stage(4, link(std::nullopt, "b", 1, 5));
  writer.stage(5, MemberRow{"g", "u"});
  writer.rejectFaults(WriteMode::kMerge, [](const StagedFault& fault) { ADD_FAILURE() << fault.number; });
  writer.apply(WriteMode::kMerge);
  writer.commit();
  EXPECT_THAT(content(), ElementsAre("policy|1|1||0", "rule|1|-3|1|247|NULL|0|" + name, "link|7|1|" + name + "|1|5",
                                     "link|8|1|b|1|5", "member|g|u"));
  EXPECT_GT(revision, 0);
}

}  // namespace
}  // namespace zrtest
