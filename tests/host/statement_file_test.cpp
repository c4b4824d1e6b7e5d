#include <filesystem>
#include <gmock/gmock.h>

#include "host/host_test_support.h"

using testing::HasSubstr;
using zrhost::LoadReport;
using zrhost::PolicyDatabase;
namespace fs = std::filesystem;

namespace zrtest {
namespace {

TEST(StatementFiles, AreExaminedBeforeTheyAreUsed) {
  const auto place = makeSqlitePlace();
  PolicyDatabase::init(place->options(), {true, false});
  const std::string links = readFile(ZR_TEST_SCHEMA "/sqlite/read_links.sql");
  const struct {
    const char* file;
    std::string content;
    const char* text;  // null when it is a good statement
  } cases[] = {
      {"read_links.sql", "SELECT '%s%n'", "holds '%s%n', which is no conversion"},
      {"read_links.sql", "SELECT 1 %", "holds '%', which is no conversion"},
      {"read_links.sql", "SELECT ? FROM ep_link", "holds a question mark outside quotes"},
      {"read_links.sql", "SELECT '?'?", "holds a question mark outside quotes"},
      {"read_links.sql", "", "is empty"},
      {"read_policies.sql", " \t\r\n\n", "is empty"},
      {"read_links.sql", "/* nothing */", "answers no rows"},
      {"read_links.sql", "SELECT 'x%%' AS link_id", "answers no column 'entity_type'"},
      {"read_links.sql", "SELECT nonsense(", "does not take the SQL statement file"},
      {"read_links.sql", std::string(5000, ' ') + links, "has a line of more than 4,095 bytes"},
      {"read_links.sql", links + " LIMIT 1 /* '?', 100 %% */", nullptr},
  };
  for (const auto& c : cases) {
    const TempFolder folder;
    fs::copy(ZR_TEST_SCHEMA, folder.file("sql"), fs::copy_options::recursive);
    folder.write(std::string("sql/sqlite/") + c.file, c.content);
    auto options = place->options();
    options.sqlDirectory = folder.file("sql");
    LoadReport report;
    const Failure failure = failureOf([&] {
      PolicyDatabase database(options);
      report = zrhost::Snapshot::load(database)->report();
    });
    EXPECT_EQ(failure.kind, c.text == nullptr ? std::nullopt : std::optional(ErrorKind::kInputOutput)) << failure.text;
    if (c.text != nullptr) {
      EXPECT_THAT(failure.text, testing::AllOf(HasSubstr(c.text), HasSubstr(c.file)));
    }
  }
}

TEST(StatementFiles, WhatIsNoReadableFileIsNamedWithTheReason) {
  const auto place = makeSqlitePlace();
  PolicyDatabase::init(place->options(), {});
  const TempFolder folder;
  fs::copy(ZR_TEST_SCHEMA, folder.file("sql"), fs::copy_options::recursive);
  auto options = place->options();
  options.sqlDirectory = folder.file("sql");
  const std::string path = folder.file("sql/sqlite/read_links.sql");
  for (const auto& [command, text] : {std::pair{"mkfifo ", "is no regular file"},
                                      {"mkdir ", "is no regular file"},
                                      {"ln -s read_links.sql ", "cannot be read: Too many levels of symbolic links"},
                                      {": ", "cannot be read: No such file or directory"}}) {
    fs::remove(path);
    outputOf(command + path);
    const Failure failure = failureOf([&] {
      PolicyDatabase database(options);
      zrhost::Snapshot::load(database);
    });
    EXPECT_EQ(failure.kind, ErrorKind::kInputOutput);
    EXPECT_THAT(failure.text, testing::AllOf(HasSubstr(path), HasSubstr(text)));
  }
}

TEST(StatementFiles, FolderThatCannotBeReadIsNamed) {
  const auto place = makeSqlitePlace();
  PolicyDatabase::init(place->options(), {});
  const TempFolder folder;
  fs::create_symlink("loop", folder.file("loop"));
  fs::create_directory(folder.file("empty"));
  for (const char* name : {"loop", "missing", "empty"}) {
    auto options = place->options();
    options.sqlDirectory = folder.file(name);
    const Failure failure = failureOf([&] { PolicyDatabase database(options); });
    EXPECT_EQ(failure.kind, ErrorKind::kInputOutput);
    EXPECT_THAT(failure.text, HasSubstr(folder.file(name)));
  }
}

}  // namespace
}  // namespace zrtest
