#include <filesystem>
#include <gmock/gmock.h>
#include <random>

#include "host/host_test_support.h"
#include "host/rows/PolicyTable.h"

using zrhost::PolicyDatabase;
namespace fs = std::filesystem;

namespace zrtest {
namespace {

// The links as they come, one text a row.
struct SeenLinks : zrhost::RowSink {
  void onRevision(const zrhost::Revision&) override {}
  void onPolicy(zrhost::PolicyRow&) override {}
  void onRule(zrhost::RuleRow&) override {}
  void onMember(zrhost::MemberRow&) override {}
  void onLink(zrhost::LinkRow& row) override {
    std::string text;
    for (zrhost::Field* field : fieldsOf(row)) {
      text += *field ? '[' + **field + ']' : "NULL";
      field->reset();  // as a sink may that moves texts out
    }
    rows.push_back(text);
  }
  std::vector<std::string> rows;
};

class LinkBatches : public EveryDatabase {
 protected:
  bool isSqlite() const { return std::string(GetParam()) == "SQLite"; }

  // The links, read with one of the statement files replaced, or taken away where no text is given.
  std::vector<std::string> linksWithout(const std::string& file, const std::string& text = {}) {
    const TempFolder folder;
    fs::copy(ZR_TEST_SCHEMA, folder.file("sql"), fs::copy_options::recursive);
    const std::string path = std::string("sql/") + (isSqlite() ? "sqlite/" : "postgresql/") + file;
    text.empty() ? static_cast<void>(fs::remove(folder.file(path))) : static_cast<void>(folder.write(path, text));
    auto options = place->options();
    options.sqlDirectory = folder.file("sql");
    SeenLinks seen;
    PolicyDatabase(options).readByKey(seen);
    return seen.rows;
  }
  std::vector<std::string> inBatches() { return linksWithout("read_links_by_key.sql", "SELECT nonsense("); }
  std::vector<std::string> plain() { return linksWithout("find_link_batches.sql"); }

  std::string literal(const std::string& bytes) const {
    std::string hex;
    for (const unsigned char byte : bytes) {
      hex += "0123456789abcdef"[byte >> 4U];
      hex += "0123456789abcdef"[byte & 0xFU];
    }
    return isSqlite() ? "CAST(x'" + hex + "' AS TEXT)" : "convert_from('\\x" + hex + "', 'UTF8')";
  }

  std::string anyName() {
    std::vector<std::string> pieces{
        "\x1e", ",", "\n", "\r", "'", "%s", "\\", "\xc3\xb6", "a", "", std::string(127, 'x')};
    if (isSqlite()) pieces.insert(pieces.end(), {"\xff", "\xc3", std::string(1, '\0')});
    std::string name;
    for (auto count = random() % 4; count > 0; --count)
      name += pieces[random() % pieces.size()];
    return name;
  }

  std::mt19937 random{14};
};
INSTANTIATE_TEST_SUITE_P(, LinkBatches, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

TEST_P(LinkBatches, GiveWhatSingleRowsGiveWhateverTheNames) {
  init();
  std::string script = "BEGIN; INSERT INTO policy VALUES (1, 1, 'p', 0); INSERT INTO ep_link VALUES ";
  script += "(-2147483648, 1, 'first', 1, -2147483648), (2147483647, 6, 'last', 1, 2147483647)";
  int id = -40000;
  for (int row = 0; row < 12000; ++row) {  // some thousands of good ones together, so that batches end among them
    const bool isOdd = row % 3000 > 2900;
    const std::string name = isOdd ? literal(anyName()) : "'user" + std::to_string(row) + "'";
    script += ",\n(" + std::to_string(id += 1 + static_cast<int>(random() % 9)) + ", 1, " + name + ", 1, 5)";
  }
  place->run(script + "; COMMIT;");
  const auto rows = plain();
  EXPECT_EQ(rows.size(), 12002U);
  EXPECT_EQ(inBatches(), rows);
  place->run("DELETE FROM ep_link WHERE entity_name NOT LIKE 'user%'");
  EXPECT_GT(linksWithout("read_links_from.sql", "SELECT nonsense(").size(), 11000U);  // batches are all that it takes
  place->run("DELETE FROM ep_link");
  EXPECT_EQ(inBatches().size(), 0U);
}

TEST_P(LinkBatches, TablesWithoutAnIntegerKeyAreReadRowByRow) {
  makeLooseTables();
  place->run(
      "INSERT INTO ep_link VALUES ('10', '1', 'b', '1', '1'), ('9', '1', 'a', '1', '1'), (NULL, '1', 'c', '1', '1')");
  SeenLinks seen;
  PolicyDatabase(place->options()).readByKey(seen);
  EXPECT_EQ(seen.rows, plain());
  EXPECT_EQ(seen.rows.size(), 3U);
}

TEST(LinkBatchesSqlite, ValuesOfOtherTypesComeAsTheyAre) {
  const auto place = makeSqlitePlace();
  PolicyDatabase::init(place->options(), {});
  place->run(
      "DROP TABLE ep_link; CREATE TABLE ep_link (link_id INTEGER PRIMARY KEY, entity_type, entity_name, policy_id,"
      "priority); INSERT INTO ep_link VALUES (-9223372036854775808, 1, 'a', 1, 1), (1, 1.5, 'b', 'x', NULL),"
      "(2, 1, NULL, 1, 1), (3, 1, 12, 1, 1), (4, 1, x'6162', 1, 1), (9223372036854775807, 1, 'z', 1, 1)");
  SeenLinks seen;
  PolicyDatabase(place->options()).readByKey(seen);
  EXPECT_THAT(seen.rows,
              testing::ElementsAre("[-9223372036854775808][1][a][1][1]", "[1][1.5][b][x]NULL", "[2][1]NULL[1][1]",
                                   "[3][1][12][1][1]", "[4][1][ab][1][1]", "[9223372036854775807][1][z][1][1]"));
}

}  // namespace
}  // namespace zrtest
