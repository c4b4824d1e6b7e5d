#include <gmock/gmock.h>
#include <utility>

#include "db/faulty_odbc.h"

namespace {

using zrtest::failing;
using zrtest::kKeep;
using zrtest::odbc;
using zrtest::Piece;
using zrtest::thrown;

std::string units(const std::u16string& text) {
  const std::u16string ended = text + u'\0';
  return {reinterpret_cast<const char*>(ended.data()), ended.size() * sizeof(char16_t)};
}

class Row : public zrtest::Connection {
 protected:
  Row() { open(); }
  // The value of a column of one row; or what reading it throws.
  std::string read(SQLSMALLINT type, std::vector<Piece> pieces) {
    odbc.type = type;
    odbc.pieces = std::move(pieces);
    run("SELECT 'stale, and longer' AS before, 'x' AS value UNION ALL SELECT 'a', 'b'");
    const std::string text = thrown([&] { connect.fetchNextRow(); });
    if (!text.empty()) return text;
    return connect.m_mapColumn.at("VALUE")->m_isNull ? "(NULL)" : connect.getColVal("VALUE");
  }
};

TEST_F(Row, ValuesAreJoinedFromWhatTheDriverGives) {
  const SQLRETURN more = SQL_SUCCESS_WITH_INFO;
  const std::string full(65535, 'x');
  const std::u16string alphas(65535, u'\u03B1');
  std::string alphasInUtf8;
  while (alphasInUtf8.size() < 2 * alphas.size())
    alphasInUtf8 += "\xCE\xB1";
  const struct {
    SQLSMALLINT type;
    std::vector<Piece> pieces;
    std::string text;
  } kCases[] = {
      {SQL_WCHAR, {{units(u"\u03B1\u4E2D"), 4}}, "\xCE\xB1\xE4\xB8\xAD"},
      {SQL_WVARCHAR, {{"", SQL_NULL_DATA}}, "(NULL)"},
      {SQL_WVARCHAR, {{units(u""), 0}}, ""},
      {SQL_WVARCHAR,  // a pair of surrogates is cut by the border
       {{units(alphas.substr(1) + u'\xD83D'), 262144, more}, {units(u"\xDE00!"), 4}},
       alphasInUtf8.substr(2) + "\xF0\x9F\x98\x80!"},
      {SQL_WLONGVARCHAR, {{units(alphas), SQL_NO_TOTAL, more}, {units(u"z"), kKeep}}, alphasInUtf8 + "z"},
      {SQL_WVARCHAR, {{units(u"a\xD800z"), 6}}, "a\xEF\xBF\xBDz"},  // a lone one
      {SQL_WVARCHAR, {{units(alphas), SQL_NO_TOTAL, more}, {"", kKeep, SQL_ERROR}}, "Failed to fetch char data"},
      {SQL_DECIMAL, {{full + '\0', 70000, more}, {"end", 3}}, full + "end"},
      {SQL_VARCHAR, {{"", SQL_NULL_DATA}}, "(NULL)"},  // the buffer of the column before is cleared
      {SQL_VARCHAR, {{std::string(1, '\0'), 0}}, ""},
      {SQL_VARCHAR, {{"abc", SQL_NULL_DATA}}, "abc"},  // a NULL that brings a text is none
      {SQL_VARCHAR, {{"abc", SQL_NO_TOTAL}}, "abc"},
      {SQL_VARCHAR, {{std::string("ab\0c", 4), 4}}, "ab"},
      {SQL_VARCHAR, {}, "Failed to fetch char data"},
      {SQL_VARCHAR, {{full + '\0', SQL_NO_TOTAL, more}}, "Failed to fetch char data"},
      {SQL_VARBINARY, {}, "BINARY DATA"},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(read(c.type, c.pieces), c.text) << "case " << &c - kCases;
  EXPECT_TRUE(odbc.count("GetData 2 -8") > 0 && odbc.count("GetData 2 1") > 0);
  odbc.faults = {{"Fetch", {1, SQL_ERROR}}};
  EXPECT_EQ(read(SQL_VARCHAR, {}), "Failed to fetch next row.");
}

TEST_F(Row, WideTextThatCannotBeConvertedIsReported) {
  const std::vector<Piece> pieces = {{units(std::u16string(60000, u'x')), 120000}};
  std::vector<std::string> lines;
  for (const char* what :
       {"allocate target buffer for converting", "allocate source buffer for converting", "convert"}) {
    lines.push_back(std::string("Failed to ") + what + " UTF-16 data to UTF-8. Column name: value");
    if (lines.size() < 3) failing = {100000, static_cast<int>(lines.size()) - 1};
    UConverter* converter = std::exchange(connect.m_pConverter, lines.size() < 3 ? connect.m_pConverter : nullptr);
    EXPECT_EQ(read(SQL_WVARCHAR, pieces), "Failed to convert UTF-16 data to UTF-8.");
    connect.m_pConverter = converter;
    failing = {};
  }
  EXPECT_EQ(log.texts(1), lines);
  EXPECT_EQ(read(SQL_WVARCHAR, pieces).size(), 60000U);
}

TEST_F(Row, ColumnsThatAreNotThereAreMissed) {
  read(SQL_VARCHAR, {{"1", 1}});
  delete std::exchange(connect.m_mapColumn.at("before"), nullptr);
  EXPECT_EQ(thrown([&] { connect.fetchNextRow(); }), "Failed to retrieve ZrDbColumn object from map list.");
  EXPECT_EQ(thrown([&] { connect.getColVal("before"); }), "Can not find data\n");
  EXPECT_EQ(log.texts(1).back(), "ZrDbConnect::getColVal() Can not find data column name isbefore\n");
}

TEST_F(Row, IntegersAreReadAsFarAsTheyGoAndTheRestIsLogged) {
  const auto bad = [](const std::string& text) {
    return "Could not convert string to int, column name:[value], value:[" + text + "]";
  };
  const struct {
    std::string text;
    int number;
    std::vector<std::string> lines;
  } kCases[] = {{"42abc", 42, {"Invalid character = a\n", bad("42abc")}},
                {"  17", 17, {}},
                {"-5", -5, {}},
                {"", 0, {bad("")}},
                {"-", 0, {bad("-")}},
                {"9000000000", 2147483647, {}}};
  for (const auto& c : kCases) {
    read(SQL_VARCHAR, {{c.text, static_cast<SQLLEN>(c.text.size())}});
    log.clear();
    EXPECT_EQ(connect.getColValInt("value"), c.number) << c.text;
    EXPECT_EQ(log.texts(1), c.lines);
  }
  EXPECT_EQ(connect.getColValLongLong("value"), 9000000000LL);
}

}  // namespace
