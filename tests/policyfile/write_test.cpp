#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "common/temp_folder.h"
#include "host/policyfile/PolicyFileWriter.h"
#include "policyfile/seen_rows.h"

namespace zrtest {
namespace {

using testing::HasSubstr;
using zrhost::ErrorKind;
using zrhost::makePolicyFileWriter;
using zrhost::PolicyFileFormat;

void writeSomeRows(zrhost::RowSink& sink) {
  sink.onRevision({"epoch", 12, 1});
  zrhost::PolicyRow policy{"1", "-2", "J\xc3\xb6rg's \"x\"\\\n\t\x01", "1"};
  sink.onPolicy(policy);
  zrhost::RuleRow rule{"1", "2", "3", "247", "", "0", "a,b"};
  sink.onRule(rule);
  zrhost::LinkRow link{"2147483647", "6", "\xff\xfe", "1", "0"};
  sink.onLink(link);
  zrhost::MemberRow member{" sales ", std::string("a\0b", 3)};
  sink.onMember(member);
}

constexpr const char* kJson =
    "{\"zrpolicy\":1}\n"
    "{\"policy\":{\"policy_id\":1,\"policy_type\":-2,\"policy_name\":\"J\xc3\xb6rg's "
    "\\\"x\\\"\\\\\\n\\t\\u0001\",\"is_default\":1}}\n"
    "{\"rule\":{\"policy_id\":1,\"position\":2,\"rule_id\":3,\"rule_type\":247,\"rule_name\":\"\",\"ldap_setting\":0,"
    "\"action\":\"a,b\"}}\n"
    "{\"link\":{\"link_id\":2147483647,\"entity_type\":6,\"entity_name_base64\":\"//"
    "4=\",\"policy_id\":1,\"priority\":0}}\n"
    "{\"member\":{\"group_name\":\" sales \",\"user_name\":\"a\\u0000b\"}}\n"
    "{\"end\":4}\n";

TEST(PolicyFileWrite, JsonLinesAreTheseBytesAndValid) {
  const TempFolder folder;
  const std::string path = folder.file("f");
  for (int time = 0; time < 2; ++time) {  // the second time over the first
    const auto writer = makePolicyFileWriter(path, PolicyFileFormat::kJsonLines);
    writeSomeRows(*writer);
    writer->commit();
    EXPECT_EQ(writer->rows(), 4U);
    EXPECT_EQ(readFile(path), kJson);
  }
  EXPECT_EQ(std::system((ZR_VALIDATE " '" + path + "'").c_str()), 0);
  std::string piped;
  const auto stream = makePolicyFileWriter([&](std::string_view text) { piped += text; });
  writeSomeRows(*stream);
  stream->commit();
  EXPECT_EQ(piped, kJson);
}

TEST(PolicyFileWrite, CsvIsTheseBytes) {
  const TempFolder folder;
  const auto writer = makePolicyFileWriter(folder.file("new"), PolicyFileFormat::kCsv);
  writeSomeRows(*writer);
  writer->commit();
  const std::filesystem::path made = folder.path() / "new";
  EXPECT_EQ(readFile(made / "policy.csv"),
            "policy_id,policy_type,policy_name,policy_name_base64,is_default\r\n"
            "1,-2,\"J\xc3\xb6rg's \"\"x\"\"\\\n\t\x01\",,1\r\n");
  EXPECT_EQ(readFile(made / "policy_rule.csv"),
            "policy_id,position,rule_id,rule_type,rule_name,rule_name_base64,ldap_setting,action,action_base64\r\n"
            "1,2,3,247,,,0,\"a,b\",\r\n");
  EXPECT_EQ(readFile(made / "ep_link.csv"),
            "link_id,entity_type,entity_name,entity_name_base64,policy_id,priority\r\n2147483647,6,,//4=,1,0\r\n");
  EXPECT_EQ(readFile(made / "group_member.csv"),
            "group_name,group_name_base64,user_name,user_name_base64\r\n sales ,,,YQBi\r\n");
}

TEST(PolicyFileWrite, AnyTextComesBackAsItWas) {
  const TempFolder folder;
  std::mt19937 random(14);
  const std::string pieces[] = {"\"",       ",",    "\r", "\n", "\\",           std::string(1, '\0'),
                                "\xc3\xb6", "\xff", " ",  "a",  "\xef\xbb\xbf", "{"};
  std::vector<zrhost::MemberRow> members;
  for (int i = 0; i < 3000; ++i) {
    std::string texts[2];
    for (std::string& text : texts) {
      for (auto length = random() % 6; length > 0; --length)
        text += pieces[random() % std::size(pieces)];
    }
    members.push_back({texts[0], texts[1]});
  }
  for (const auto format : {PolicyFileFormat::kJsonLines, PolicyFileFormat::kCsv}) {
    const std::string path = folder.file(format == PolicyFileFormat::kCsv ? "csv" : "jsonl");
    const auto writer = makePolicyFileWriter(path, format);
    for (zrhost::MemberRow& member : members)
      writer->onMember(member);
    writer->commit();
    const Reading reading(path);
    ASSERT_EQ(reading.error, "");
    ASSERT_EQ(reading.rows.size(), members.size());
    for (std::size_t i = 0; i < members.size(); ++i)
      EXPECT_EQ(reading.rows[i], "member " + *members[i].groupName + ' ' + *members[i].userName);
  }
}

// The library's text of a member, but for two bytes that it has letters for.
std::string lineByLibrary(const std::string& text) {
  try {
    return "{\"member\":{\"group_name\":" + nlohmann::json(text).dump() + ",\"user_name\":\"u\"}}\n";
  } catch (const nlohmann::json::type_error&) {  // no UTF-8
    return {};
  }
}

TEST(PolicyFileWrite, BytesAreEscapedAsTheJsonLibraryEscapesThem) {
  std::string line;
  const auto write = [&line](const std::string& text) {
    line.clear();
    const auto writer = makePolicyFileWriter([&](std::string_view piece) { line += piece; });
    zrhost::MemberRow member{text, "u"};
    writer->onMember(member);
    writer->commit();
    line = line.substr(line.find('\n') + 1);
    line.resize(line.find('\n') + 1);
  };
  std::mt19937 random(9);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    const unsigned end = i % 2 == 0 ? 0x80 : 0x100;
    for (auto length = random() % 7; length > 0; --length) {
      const char byte = static_cast<char>(random() % end);
      if (byte != '\b' && byte != '\f') text += byte;
    }
    write(text);
    const std::string expected = lineByLibrary(text);
    if (expected.empty()) {
      EXPECT_THAT(line, HasSubstr("\"group_name_base64\":"));
    } else {
      EXPECT_EQ(line, expected);
    }
  }
  write("\b\f");
  EXPECT_THAT(line, HasSubstr("\"\\u0008\\u000c\""));
}

TEST(PolicyFileWrite, ARowThatAFileCannotHoldIsNamedAndTheOldFileStays) {
  const TempFolder folder;
  const std::string path = folder.write("f", "old");
  const zrhost::LinkRow good{"7", "1", "john", "20", "10"};
  const std::pair<zrhost::LinkRow, const char*> rows[] = {
      {{"7", "1", std::nullopt, "20", "10"},
       "ep_link, link_id 7: entity_name is NULL, which a policy file cannot hold"},
      {{std::nullopt, "1", "john", "20", "10"}, "ep_link, link_id NULL: link_id is NULL"},
      {{"7", "1", "john", "20", "ten"}, "priority is 'ten', not a whole number"},
      {{"7", "1", "john", "20", "2147483648"}, "priority is '2147483648', not a whole number"},
      {{"7", "0", "john", "20", "1"}, "entity_type is '0', not a whole number from 1 to 6"},
      {{"7", "1", "john", "020", "1"}, "policy_id is the number '020' with needless zeros or sign"},
      {{"-0", "1", "john", "20", "1"}, "link_id is the number '-0'"},
      {{"7", "1", std::string(zrhost::kMostLineBytes, 'x'), "20", "1"}, "the row takes 4194"},
  };
  for (const auto& [row, error] : rows) {
    const auto [kind, text] = failureOf([&] {
      const auto writer = makePolicyFileWriter(path, PolicyFileFormat::kJsonLines);
      zrhost::LinkRow first = good, second = row;
      writer->onLink(first);
      writer->onLink(second);
    });
    EXPECT_EQ(kind, ErrorKind::kBadRow);
    EXPECT_THAT(text, HasSubstr(error));
  }
  EXPECT_EQ(readFile(path), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);  // no temporary file
}

// Runs `action` in a process of its own whose files cannot grow over `bytes`, as on a full disk.
void withFullDisk(rlim_t bytes, const std::function<void()>& action) {
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
    const auto [kind, text] = failureOf(action);
    _exit(kind == ErrorKind::kInputOutput && text.find("cannot write") == 0 ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST(PolicyFileWrite, AFullDiskLeavesTheOldFiles) {
  const TempFolder folder;
  const std::string file = folder.write("f", "old");
  std::filesystem::create_directory(folder.file("csv"));
  const std::string first = folder.write("csv/policy.csv", "old");
  const std::string other = folder.write("csv/README", "mine");
  const auto writeMuch = [](const std::string& path, PolicyFileFormat format) {
    const auto writer = makePolicyFileWriter(path, format);
    for (int i = 0; i < 100000; ++i) {
      zrhost::MemberRow member{"some group", "some user"};
      writer->onMember(member);
    }
    writer->commit();
  };
  withFullDisk(1000000, [&] { writeMuch(file, PolicyFileFormat::kJsonLines); });
  withFullDisk(1000000, [&] { writeMuch(folder.file("csv"), PolicyFileFormat::kCsv); });
  withFullDisk(20, [&] { writeMuch(folder.file("other"), PolicyFileFormat::kCsv); });
  EXPECT_EQ(readFile(file) + readFile(first) + readFile(other), "oldoldmine");
  EXPECT_FALSE(std::filesystem::exists(folder.file("other")));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.file("csv")), {}), 2);
}

TEST(PolicyFileWrite, WhatStandsAtThePathIsRespected) {
  const TempFolder folder;
  const std::string target = folder.write("target", "old");
  chmod(target.c_str(), 0640);
  std::filesystem::create_symlink("target", folder.file("link"));
  makePolicyFileWriter(folder.file("link"), PolicyFileFormat::kJsonLines)->commit();
  EXPECT_EQ(readFile(target), jsonFile({}));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
  struct stat status = {};
  stat(target.c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);

  const std::string pipe = folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::string piped;
  std::thread reader([&] { piped = readFile(pipe); });
  makePolicyFileWriter(pipe, PolicyFileFormat::kJsonLines)->commit();
  reader.join();
  EXPECT_EQ(piped, jsonFile({}));

  const std::pair<std::string, PolicyFileFormat> refused[] = {
      {"/dev/full", PolicyFileFormat::kJsonLines},
      {folder.path().string(), PolicyFileFormat::kJsonLines},
      {folder.file("none/f"), PolicyFileFormat::kJsonLines},
      {folder.file("none/folder"), PolicyFileFormat::kCsv},
      {target, PolicyFileFormat::kCsv},
  };
  for (const auto& [path, format] : refused)
    EXPECT_EQ(failureOf([&] { makePolicyFileWriter(path, format)->commit(); }).first, ErrorKind::kInputOutput) << path;
}

}  // namespace
}  // namespace zrtest
