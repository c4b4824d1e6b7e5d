#include "db/ZrSqlLoader.h"

#include <gtest/gtest.h>

#include "common/temp_folder.h"
#include "db/thrown.h"

namespace {

using zrtest::thrown;

class SqlLoader : public testing::Test {
 protected:
  SqlLoader() : previous(std::filesystem::current_path()) { std::filesystem::current_path(folder.path()); }
  ~SqlLoader() override { std::filesystem::current_path(previous); }

  zrtest::TempFolder folder;
  std::filesystem::path previous;
};

TEST_F(SqlLoader, LinesOfAFileAreJoinedByBlanks) {
  const std::string full(4095, 'x');
  for (const auto& [content, text] : {std::pair<std::string, std::string>{"SELECT a\nFROM t\n", " SELECT a FROM t "},
                                      {"", " "},
                                      {"a\r\nb", " a\r b"},
                                      {full + "\nend", " " + full + " end"},
                                      {full + "x\nlost", " " + full},
                                      {std::string("a\0b\nc", 5), " a c"}}) {
    folder.write("statement", content);
    EXPECT_EQ(ZrSqlLoader().getSQL("statement"), text);
  }
}

TEST_F(SqlLoader, NamesAreLookedForInTheFolderUnlessTheyArePaths) {
  std::filesystem::create_directory("sql");
  for (const char* name : {"sql/one", "one", "back\\slash"})
    folder.write(name, name);
  for (const std::string& path : {folder.file("sql"), folder.file("sql") + "/", std::string("sql")}) {
    ZrSqlLoader loader(path.c_str());
    EXPECT_EQ(loader.getSQL("one") + loader.getSQL("./one") + loader.getSQL("back\\slash"), " sql/one one back\\slash");
  }
  EXPECT_EQ(ZrSqlLoader("").getSQL("one"), " one");
  EXPECT_EQ(thrown([] { ZrSqlLoader("nosuch"); }), "Specified directory for SQL statements doesn't exist");
}

TEST_F(SqlLoader, StatementIsFilledAndCutToItsBuffer) {
  folder.write("find", "SELECT name FROM t\nWHERE id = %d\n");
  ZrSqlLoader loader;
  char buffer[64];
  loader.loadSQL(buffer, sizeof buffer, "find", 7);
  EXPECT_STREQ(buffer, " SELECT name FROM t WHERE id = 7 ");
  loader.loadSQL(buffer, 8, "find", 7);
  EXPECT_STREQ(buffer, " SELECT");
  EXPECT_EQ(ZrSqlLoader::setSqlParams(buffer, 4, "%s-%d%%", "abc", 12), 7);
  EXPECT_STREQ(buffer, "abc");
}

TEST_F(SqlLoader, WhatCannotBeDoneIsNamed) {
  ZrSqlLoader loader;
  const std::string prefix = "ZrSqlLoader::loadSQL(), ";
  const std::string fits(509, 'n'), name(510, 'n'), path = "/" + std::string(511, 'p');
  for (const auto& [sqlName, text] :
       {std::pair<std::string, std::string>{"nosuch", "failed to open ./nosuch"},
        {fits, ("failed to open ./" + fits).substr(0, 511 - prefix.size())},
        {name, ("the path + file name exceeds buffer size, " + name).substr(0, 255 - prefix.size())},
        {path, ("the file name exceeds buffer size, " + path).substr(0, 255 - prefix.size())},
        {"/", "failed to load /"}})  // opens, but cannot be read
    EXPECT_EQ(thrown([&] { loader.getSQL(sqlName.c_str()); }), prefix + text);
  EXPECT_EQ(thrown([&] { loader.getSQL(nullptr); }), "ZrSqlLoader::getSQL(), invalid arguments");
  char buffer[8];
  const auto set = [&](char* to, int size, const char* format) {
    return thrown([&] { ZrSqlLoader::setSqlParams(to, size, format, 0x7FFFFFFF); });
  };
  EXPECT_EQ(set(nullptr, 8, "x"), prefix + "invalid arguments");
  EXPECT_EQ(set(buffer, 0, "x"), prefix + "invalid arguments");
  EXPECT_EQ(set(buffer, 8, "%lc"), "ZrSqlLoader::vSetSqlParams(), failed to format the '%lc'");  // no character
  EXPECT_THROW(loader.getSQL("nosuch"), char*);  // the thread's own, unlike the constant texts
}

}  // namespace
