#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <thread>

#include "common/temp_folder.h"
#include "config/ConfigFile.h"
#include "config/config_model.h"

namespace {

using zrtest::ConfigSections;

class ConfigFileRead : public testing::Test {
 protected:
  ConfigSections sectionsOf(const std::string& text) {
    ConfigFile config(m_folder.write("read.conf", text).c_str());
    EXPECT_TRUE(config.ok());
    return config.m_pImpl->m_sections;
  }

  zrtest::TempFolder m_folder;
};

TEST_F(ConfigFileRead, GeneratedFilesMeanWhatTheRulesSay) {
  for (unsigned seed = 0; seed < 1500; ++seed) {
    const std::string path = m_folder.write("generated.conf", zrtest::generateConfig(seed, 60));
    ConfigSections expected;
    ASSERT_TRUE(zrtest::readConfigPlainly(path, expected));
    ConfigFile config(path.c_str());
    ASSERT_EQ(config.m_pImpl->m_sections, expected) << "seed " << seed;
  }
}

TEST_F(ConfigFileRead, LinesAreSortedIntoSettings) {
  const struct {
    std::string text;
    ConfigSections sections;
  } kCases[] = {
      {"a = 1\n[main]\na = 2", {{"main", {{"a", "2"}}}}},
      {"[one]\n[two]\n", {}},
      {"[m]\n[main\n[ main ]\n[]\na=1", {{"m", {{"a", "1"}}}}},
      {"[m]\na=v\nb = v\nc\t=\tv\nkey value\nmy key = 1", {{"m", {{"a", "v"}, {"b", "v"}, {"c", "v"}}}}},
      {"[m]\nkey = value   # note\nempty=\n= nameless",
       {{"m", {{"key", "value   # note"}, {"empty", ""}, {"", "nameless"}}}}},
      {"\xEF\xBB\xBF[m]\n\xEF\xBB\xBF[n]\na=1", {{"m", {{"a", "1"}}}}},
      {"[m]\r\na = 1\r\r\n\r\nb = 2\r", {{"m", {{"a", "1\r"}, {"b", "2"}}}}},
      {"[m]\na = 1\\\n\nb=\\\n[n] # = \\\n\\\nc=3", {{"m", {{"a", "1\n"}, {"b", "\n[n] # = \n\nc=3"}}}}},
      {"[m]\na=" + std::string(1020, 'x') + "xb=1\n", {{"m", {{"a", std::string(1021, 'x')}, {"b", "1"}}}}},
      {"[m]\nb = 1\n= x\\\nlost\\\nlost\na=2", {{"m", {{"", "x\n"}, {"a", "2"}, {"b", "1"}}}}},
  };
  for (const auto& each : kCases)
    EXPECT_EQ(sectionsOf(each.text), each.sections) << each.text;
}

TEST_F(ConfigFileRead, FilesMergeAndAFailedReadChangesOnlyTheFlag) {
  const std::string first = m_folder.write("1.conf", "[m]\na=1\nb=1"),
                    second = m_folder.write("2.conf", "[m]\nb=2\n[n]\nc=3"), none = m_folder.file("none");
  ConfigFile config(none.c_str());
  EXPECT_TRUE(!config.ok() && config.GetFilename() == std::string() && config.refresh() == -1);
  EXPECT_EQ(config.read_config(first.c_str()), 0);
  EXPECT_EQ(config.read_config(second.c_str()), 0);
  const ConfigSections merged{{"m", {{"a", "1"}, {"b", "2"}}}, {"n", {{"c", "3"}}}};
  for (const char* bad : {none.c_str(), "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(config.read_config(bad), -1);
    EXPECT_TRUE(!config.ok() && config.GetFilename() == second);
    EXPECT_EQ(config.m_pImpl->m_sections, merged);
  }
  m_folder.write("2.conf", "[n]\nd=4");
  EXPECT_TRUE(config.refresh() == 0 && config.ok());
  EXPECT_EQ(config.m_pImpl->m_sections, (ConfigSections{{"n", {{"d", "4"}}}}));
}

TEST_F(ConfigFileRead, AValueMayNameTheNextFile) {
  const std::string next = m_folder.write("next.conf", "[m]\ninclude = \\\n" + std::string(500, 'x'));
  ConfigFile config(m_folder.write("first.conf", "[m]\ninclude = " + next).c_str());
  EXPECT_EQ(config.read_config(config.getparam("m", "include")), 0);
  EXPECT_EQ(config.GetFilename(), next);
}

TEST_F(ConfigFileRead, AnythingThatOpensIsRead) {
  ConfigFile folder(m_folder.path().c_str());
  EXPECT_TRUE(folder.ok());
  EXPECT_TRUE(folder.m_pImpl->m_sections.empty());

  const std::string pipe = m_folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&pipe] { std::ofstream(pipe) << "[m]\na = " << std::flush << "1\n"; });
  ConfigFile config(pipe.c_str());
  writer.join();
  EXPECT_STREQ(config.getparam("m", "a"), "1");
}

TEST_F(ConfigFileRead, NumbersAreReadAsStrtolDoesAndClampedTo32Bits) {
  ConfigFile config;
  for (const auto& [text, number] : {std::pair{"42abc", 42},
                                     {" -7", -7},
                                     {"0x10", 0},
                                     {"", 0},
                                     {"2147483648", 2147483647},
                                     {"-99999999999999999999", -2147483647 - 1}}) {
    config.setparam("m", "n", text);
    EXPECT_EQ(config.getdigitparam("m", "n"), number) << text;
  }
  EXPECT_TRUE(config.getparam("M", "n") == nullptr && config.getparam(nullptr, "n") == nullptr);
  EXPECT_EQ(config.getdigitparam("m", nullptr), 0);
}

TEST_F(ConfigFileRead, WholeTextsComeByteForByteWithoutTheirMark) {
  ConfigFile config;
  const std::string large(100000, 'x');
  for (const auto& [content, text] : {std::pair<std::string, std::string>{"", ""},
                                      {"\xEF\xBB", "\xEF\xBB"},
                                      {"\xEF\xBB\xBFone\r\n\xEF\xBB\xBF", "one\r\n\xEF\xBB\xBF"},
                                      {large, large}}) {
    const std::unique_ptr<char[]> got(config.ReadWarnMsg(m_folder.write("text", content).c_str()));
    EXPECT_EQ(got.get(), text);
  }
  for (const char* path : {m_folder.path().c_str(), "/none", static_cast<const char*>(nullptr)})
    EXPECT_EQ(config.ReadWarnMsg(path), nullptr);
}

TEST(ConfigFileCompare, NullIsEqualToNullOnly) {
  EXPECT_EQ(ConfigFile::strcmpnull(nullptr, nullptr) + ConfigFile::strcmpnull("Port", "pORT"), 0);
  EXPECT_EQ(ConfigFile::strcmpnull(nullptr, "") + ConfigFile::strcmpnull("", nullptr), 2);
  EXPECT_LT(ConfigFile::strcmpnull("a", "B"), 0);
}

}  // namespace
