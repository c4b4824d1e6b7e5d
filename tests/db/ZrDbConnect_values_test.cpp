#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "db/ZrDbConnect.h"
#include "db/scripted_odbc.h"
#include "db/thrown.h"

namespace {

using testing::ElementsAre;
using zrtest::failing;
using zrtest::kKeep;
using zrtest::Piece;
using zrtest::script;
using zrtest::thrown;

std::string units(const std::u16string& text) {
  const std::u16string ended = text + u'\0';
  return {reinterpret_cast<const char*>(ended.data()), ended.size() * sizeof(char16_t)};
}

struct Case {
  const char* what;
  std::vector<Piece> pieces;
  std::string text;
};

class ScriptedRow : public zrtest::Scripted {
 protected:
  ScriptedRow() { connect.connect("", "", "", ""); }
  // The value of a column of one row; or what reading it throws.
  std::string read(SQLSMALLINT type, std::vector<Piece> pieces) {
    script.results = {{{{"before", SQL_VARCHAR, {{"stale, and longer", SQL_NO_TOTAL, SQL_SUCCESS}}},
                        {"value", type, std::move(pieces)}},
                       1}};
    connect.executeSQL("select", ZrDbConnect::SQLTYPE_ANSI);
    const std::string text = thrown([&] { connect.fetchNextRow(); });
    if (!text.empty()) return text;
    return connect.m_mapColumn.at("VALUE")->m_isNull ? "(NULL)" : connect.getColVal("VALUE");
  }

  ZrDbConnect connect;
};

TEST_F(ScriptedRow, WideTextIsJoinedAndBecomesUtf8) {
  const std::u16string large(65535, u'\u03B1');
  std::string largeUtf8;
  while (largeUtf8.size() < 2 * large.size())
    largeUtf8 += "\xCE\xB1";
  const std::u16string half = large.substr(1) + u'\xD83D';
  for (const Case& c :
       std::vector<Case>{{"scripts", {{units(u"\u03B1\u4E2D"), 4, SQL_SUCCESS}}, "\xCE\xB1\xE4\xB8\xAD"},
                         {"NULL", {{"", SQL_NULL_DATA, SQL_SUCCESS}}, "(NULL)"},
                         {"empty", {{units(u""), 0, SQL_SUCCESS}}, ""},
                         {"surrogates cut by the border",
                          {{units(half), 262144, SQL_SUCCESS_WITH_INFO}, {units(u"\xDE00!"), 4, SQL_SUCCESS}},
                          largeUtf8.substr(2) + "\xF0\x9F\x98\x80!"},
                         {"no total",
                          {{units(large), SQL_NO_TOTAL, SQL_SUCCESS_WITH_INFO}, {units(u"z"), kKeep, SQL_SUCCESS}},
                          largeUtf8 + "z"},
                         {"lone surrogate", {{units(u"a\xD800z"), 6, SQL_SUCCESS}}, "a\xEF\xBF\xBDz"},
                         {"failure at the second piece",
                          {{units(large), SQL_NO_TOTAL, SQL_SUCCESS_WITH_INFO}, {"", kKeep, SQL_ERROR}},
                          "Failed to fetch char data"}})
    for (const SQLSMALLINT type : {SQL_WCHAR, SQL_WVARCHAR, SQL_WLONGVARCHAR})
      EXPECT_EQ(read(type, c.pieces), c.text) << c.what;
  EXPECT_GT(script.count("GetData 2 -8 131072"), 0);
}

TEST_F(ScriptedRow, WideTextThatCannotBeConvertedIsReported) {
  const std::vector<Piece> pieces = {{units(std::u16string(60000, u'x')), 120000, SQL_SUCCESS}};
  UConverter* converter = connect.m_pConverter;
  for (const int skip : {0, 1}) {
    failing = {100000, skip};
    EXPECT_EQ(read(SQL_WVARCHAR, pieces), "Failed to convert UTF-16 data to UTF-8.");
  }
  failing = {};
  connect.m_pConverter = nullptr;
  EXPECT_EQ(read(SQL_WVARCHAR, pieces), "Failed to convert UTF-16 data to UTF-8.");
  connect.m_pConverter = converter;
  EXPECT_EQ(connect.m_state, 4);
  EXPECT_THAT(log.texts(1),
              ElementsAre("Failed to allocate target buffer for converting UTF-16 data to UTF-8. Column name: value",
                          "Failed to allocate source buffer for converting UTF-16 data to UTF-8. Column name: value",
                          "Failed to convert UTF-16 data to UTF-8. Column name: value"));
  EXPECT_EQ(read(SQL_WVARCHAR, pieces).size(), 60000U);
}

TEST_F(ScriptedRow, TextIsJoinedAsTheDriverGivesItAndAFailureIsNoEndOfRows) {
  const std::string full(65535, 'x');
  for (const Case& c : std::vector<Case>{
           {"long", {{full + '\0', 70000, SQL_SUCCESS_WITH_INFO}, {"end", 3, SQL_SUCCESS}}, full + "end"},
           {"NULL: the buffer of the column before is cleared", {{"", SQL_NULL_DATA, SQL_SUCCESS}}, "(NULL)"},
           {"empty", {{std::string(1, '\0'), 0, SQL_SUCCESS}}, ""},
           {"a NULL that brings a text is none", {{"abc", SQL_NULL_DATA, SQL_SUCCESS}}, "abc"},
           {"no total, not terminated", {{"abc", SQL_NO_TOTAL, SQL_SUCCESS}}, "abc"},
           {"up to a zero", {{std::string("ab\0c", 4), 4, SQL_SUCCESS}}, "ab"},
           {"no data", {}, "Failed to fetch char data"},
           {"more is said, and nothing comes",
            {{full + '\0', SQL_NO_TOTAL, SQL_SUCCESS_WITH_INFO}},
            "Failed to fetch char data"}})
    EXPECT_EQ(read(SQL_DECIMAL, c.pieces), c.text) << c.what;
  EXPECT_GT(script.count("GetData 2 1 65536"), 0);
  script.faults = {{"Fetch", {1, SQL_ERROR}}};
  EXPECT_EQ(read(SQL_VARCHAR, {}), "Failed to fetch next row.");
}

TEST_F(ScriptedRow, ColumnsThatTheHostTookAwayAreMissed) {
  read(SQL_VARCHAR, {{"1", 1, SQL_SUCCESS}});
  delete connect.m_mapColumn.at("before");
  connect.m_mapColumn["before"] = nullptr;
  script.fetched = 0;
  EXPECT_EQ(thrown([&] { connect.fetchNextRow(); }), "Failed to retrieve ZrDbColumn object from map list.");
  EXPECT_EQ(thrown([&] { connect.getColVal("before"); }), "Can not find data\n");
  connect.m_mapColumn.erase("before");
  script.fetched = 0;
  EXPECT_EQ(thrown([&] { connect.fetchNextRow(); }), "Could not found matched ZrDbColumn object");
  EXPECT_THAT(log.texts(1), ElementsAre("Failed to retrieve ZrDbColumn object from map list.",
                                        "ZrDbConnect::getColVal() Can not find data column name isbefore\n",
                                        "Could not found matched ZrDbColumn object"));
}

TEST_F(ScriptedRow, IntegersAreReadAsFarAsTheyGoAndTheRestIsLogged) {
  struct Number {
    std::string text;
    int number;
    std::string invalid;  // the character that is named
    bool logged;
  };
  for (const Number& c : {Number{"42abc", 42, "a", true},
                          {"  17", 17, "", false},
                          {"-5", -5, "", false},
                          {"", 0, "", true},
                          {"-", 0, "", true},
                          {"9000000000", 2147483647, "", false}}) {
    read(SQL_VARCHAR, {{c.text, static_cast<SQLLEN>(c.text.size()), SQL_SUCCESS}});
    log.clear();
    EXPECT_EQ(connect.getColValInt("value"), c.number) << c.text;
    std::vector<std::string> lines;
    if (!c.invalid.empty()) lines = {"Invalid character = " + c.invalid + "\n"};
    if (c.logged) lines.push_back("Could not convert string to int, column name:[value], value:[" + c.text + "]");
    EXPECT_EQ(log.texts(1), lines) << c.text;
  }
  EXPECT_EQ(connect.getColValLongLong("value"), 9000000000LL);
}

}  // namespace
