#include <cstring>
#include <gtest/gtest.h>
#include <memory>

#include "common/temp_folder.h"
#include "config/ConfigFile.h"

namespace {

std::string owned(char* text) {
  return std::unique_ptr<char[]>(text).get();
}

class ConfigFileWrite : public testing::Test {
 protected:
  std::string dumped() {
    const std::string path = m_folder.file("dumped");
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(path.c_str(), "w"), std::fclose);
    EXPECT_EQ(m_config.dump_to_FILE(stream.get()), 0);
    std::fflush(stream.get());
    return zrtest::readFile(path);
  }

  ConfigFile m_config;
  zrtest::TempFolder m_folder;
};

TEST_F(ConfigFileWrite, BothOutputsAreOrderedBytewise) {
  m_config.setparam("b", "x", "1");
  m_config.setparam("a", "y", "2");
  m_config.setparam("a", "x", "3");
  m_config.setparam("B", "z", "odd = # \\");
  m_config.setparam("a", "y", "4");
  EXPECT_EQ(dumped(), "[B]\nz = odd = # \\\n[a]\nx = 3\ny = 4\n[b]\nx = 1\n");
  EXPECT_EQ(owned(m_config.Serialize()), "z=odd = # \\\nx=3\ny=4\nx=1\n");
  EXPECT_EQ(owned(m_config.SerializeSection("a")), "x=3\ny=4\n");
  EXPECT_EQ(owned(m_config.SerializeSection(nullptr)), "");
  std::string text = "kept,";
  EXPECT_EQ(&m_config.m_pImpl->SerializeSection("b", text), &text);
  EXPECT_EQ(m_config.m_pImpl->Serialize(text), "kept,x=1\nz=odd = # \\\nx=3\ny=4\nx=1\n");
  EXPECT_EQ(*std::unique_ptr<std::string>(m_config.m_pImpl->SerializeSection("b")), "x=1\n");
  EXPECT_EQ(*std::unique_ptr<std::string>(m_config.m_pImpl->Serialize()), owned(m_config.Serialize()));
}

TEST_F(ConfigFileWrite, RemovingKeepsAndMakesSectionsAndNullsChangeNothing) {
  m_config.setparam("main", "port", "25");
  m_config.unsetparam("main", "none");
  m_config.unsetparam("other", "key");
  m_config.setparam(nullptr, "a", "1");
  m_config.setparam("m", nullptr, "1");
  m_config.setparam("m", "a", nullptr);
  m_config.unsetparam(nullptr, "a");
  m_config.unsetparam("m", nullptr);
  EXPECT_EQ(dumped(), "[main]\nport = 25\n[other]\n");
  m_config.unsetparam("main", "port");
  EXPECT_EQ(dumped(), "[main]\n[other]\n");
}

TEST_F(ConfigFileWrite, AWrittenFileReadsBackExceptForWhatItCannotCarry) {
  const std::string path = m_folder.write("dumped.conf", "[old]\ntext = that is longer than what replaces it\n");
  m_config.setparam("m", "plain", "value # \t");
  m_config.setparam("m", "blanks", "  abc");
  m_config.setparam("m", "my key", "lost");
  m_config.setparam("n x", "cut", "");
  m_config.unsetparam("bare", "a");
  EXPECT_EQ(m_config.dump(path.c_str()), 0);
  EXPECT_EQ(zrtest::readFile(path), "[bare]\n[m]\nblanks =   abc\nmy key = lost\nplain = value # \t\n[n x]\ncut = \n");
  ConfigFile back(path.c_str());
  EXPECT_EQ(owned(back.Serialize()), "blanks=abc\nplain=value # \t\ncut=\n");
  back.setparam("m", "plain", "new");
  EXPECT_EQ(back.dump(), 0);
  EXPECT_EQ(zrtest::readFile(path), "[m]\nblanks = abc\nplain = new\n[n]\ncut = \n");
}

TEST_F(ConfigFileWrite, FilesThatCannotBeOpenedAreReportedAndNothingElse) {
  m_config.setparam("m", "a", std::string(100000, 'x').c_str());
  for (const char* path : {m_folder.path().c_str(), "/none/x.conf", static_cast<const char*>(nullptr)})
    EXPECT_EQ(m_config.dump(path), -1);
  EXPECT_TRUE(m_config.dump() == -1 && m_config.dump("/dev/full") == 0 && m_config.dump_to_FILE(nullptr) == 0);
}

}  // namespace
