#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/temp_folder.h"
#include "config/config_model.h"
#include "host/configfile/ConfigEdit.h"
#include "host/configfile/config_sections.h"

namespace {

using testing::HasSubstr;
using zrhost::setInConfigFile;
using zrhost::unsetInConfigFile;
using zrtest::ConfigSections;

class SettingsEdit : public testing::Test {
 protected:
  // The text after [m] k was set, or without a value removed.
  std::string edited(const std::string& text, const char* value) {
    const std::string path = m_folder.write("edit.conf", text);
    value == nullptr ? unsetInConfigFile(path, "m", "k") : setInConfigFile(path, "m", "k", value);
    return zrtest::readFile(path);
  }

  template <typename Call>
  static std::string failure(Call call) {
    try {
      call();
      return "";
    } catch (const zrhost::HostError& error) {
      return std::string(error.kind() == zrhost::ErrorKind::kUsage ? "usage: " : "file: ") + error.what();
    }
  }

  std::ptrdiff_t files() const { return std::distance(std::filesystem::directory_iterator(m_folder.path()), {}); }

  zrtest::TempFolder m_folder;
};

TEST_F(SettingsEdit, OneSettingChangesInItsPlace) {
  const struct {
    const char *before, *value, *after;
  } kCases[] = {
      {"# c\n[m]\n\tk\t=  1\nl = 2\n", "new # x", "# c\n[m]\n\tk\t=  new # x\nl = 2\n"},
      {"[m]\r\nk=1\r\nl=2\r\n", "a\nb", "[m]\r\nk=a\\\r\nb\r\nl=2\r\n"},
      {"[m]\nk=1\\\n2\\\n\n\nl=2", "3", "[m]\nk=3\n\n\nl=2"},
      {"[m]\nk=1\\\n2\nl=2", "", "[m]\nk=\nl=2"},
      {"[m]\nk=1\n[m]\nk=2\nk=3\n", "4", "[m]\nk=1\n[m]\nk=2\nk=4\n"},
      {"[m]\nk=1\\\n\nl=2\n", "2\n", "[m]\nk=2\\\n\nl=2\n"},
      {"[m]\nl=1\\\n 2\n\n# tail\n[n]\nk=1\n", "2", "[m]\nl=1\\\n 2\nk = 2\n\n# tail\n[n]\nk=1\n"},
      {"[m]\n# about k\n# k = 7\n\nl=1\n", "2", "[m]\n# about k\n# k = 7\nk = 2\n\nl=1\n"},
      {"[m]", "2", "[m]\nk = 2\n"},
      {"[m]\nl=1\\", "2", "[m]\nl=1\\\n\nk = 2\n"},
      {"[n]\r\na=1", "2", "[n]\r\na=1\r\n\r\n[m]\r\nk = 2\r\n"},
      {"", "2", "[m]\nk = 2\n"},
      {"[m]\nk=1\n# c\nk=2\\\n3\nl=1\n[n]\nk=4\n", nullptr, "[m]\n# c\nl=1\n[n]\nk=4\n"},
      {"[m]\nk=1\\\n\n[n]", nullptr, "[m]\n\n[n]"},
      {"[m]\nl=1", nullptr, "[m]\nl=1"},
  };
  for (const auto& each : kCases)
    EXPECT_EQ(edited(each.before, each.value), each.after) << each.before;
}

TEST_F(SettingsEdit, GeneratedFilesKeepTheirOtherSettings) {
  std::mt19937 random(7);
  const auto pick = [&random](std::initializer_list<const char*> from) {
    return std::string(from.begin()[random() % from.size()]);
  };
  int edits = 0;
  for (unsigned seed = 0; seed < 300; ++seed) {
    const std::string before = zrtest::generateConfig(seed, 25), path = m_folder.write("generated.conf", before);
    const std::string section = pick({"main", "x", "absent"}), name = pick({"a", "b", "Key"}),
                      value = pick({"", "new", "one\ntwo", "end\n", "a\\\n\n b # = [c]"});
    const bool removes = random() % 3 == 0;
    ConfigSections expected, after;
    zrtest::readConfigPlainly(path, expected);
    try {
      removes ? unsetInConfigFile(path, section, name) : setInConfigFile(path, section, name, value);
    } catch (const zrhost::HostError&) {  // something in an overlong line
      ASSERT_EQ(zrtest::readFile(path), before);
      continue;
    }
    ++edits;
    removes ? void(expected[section].erase(name)) : void(expected[section][name] = value);
    std::erase_if(expected, [](const auto& each) { return each.second.empty(); });
    zrtest::readConfigPlainly(path, after);
    ASSERT_EQ(after, expected) << "seed " << seed;
  }
  EXPECT_GT(edits, 200);
  EXPECT_EQ(files(), 1);
}

TEST_F(SettingsEdit, WhatTheFormatCannotCarryIsRefusedWithTheReason) {
  const std::string fits(1023 - 5, 'x');  // with "k = " and the line feed
  const struct {
    std::string section, name, value, reason;
  } kCases[] = {
      {"m", "k", "ends\\", "cannot end in a backslash"},
      {"m", "k", " x", "cannot begin with a blank"},
      {"m", "k", "x\r", "cannot end in a carriage return"},
      {"m", "k", std::string("x\0y", 3), "cannot hold a zero byte"},
      {"m", "my key", "x", "a setting's name may hold"},
      {"m]", "k", "x", "a section's name may hold"},
      {"m", "k", fits + "x", "longer than 1023 bytes"},
      {"m", "k", "x\n" + fits + "xxxxx", "longer than 1023 bytes"},
      {fits + "12345", "k", "x", "longer than 1023 bytes"},
  };
  for (const auto& each : kCases) {
    const std::string path = m_folder.write("edit.conf", "[m]\nl = 1\n");
    EXPECT_THAT(failure([&] { setInConfigFile(path, each.section, each.name, each.value); }),
                testing::AllOf(HasSubstr("usage: "), HasSubstr(each.reason)));
    EXPECT_EQ(zrtest::readFile(path), "[m]\nl = 1\n");
  }
  EXPECT_EQ(edited("[m]\nl=1\n", fits.c_str()), "[m]\nl=1\nk = " + fits + "\n");
  EXPECT_THAT(failure([&] { edited("[m]\nk=" + fits + fits, "x"); }), HasSubstr("line 2 is longer than 1023"));
  EXPECT_EQ(files(), 1);
}

TEST_F(SettingsEdit, LinkModeAndOwnerStay) {
  const std::string target = m_folder.write("real.conf", "[m]\nk=1\n"), link = m_folder.file("zr.conf");
  std::filesystem::create_symlink("real.conf", link);
  const bool isRoot = geteuid() == 0;
  ASSERT_TRUE(!isRoot || chown(target.c_str(), 1234, 4321) == 0);
  ASSERT_EQ(chmod(target.c_str(), 0640), 0);
  EXPECT_TRUE(setInConfigFile(link, "m", "k", "2").changed);
  EXPECT_FALSE(setInConfigFile(link, "m", "k", "2").changed);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(zrtest::readFile(target), "[m]\nk=2\n");
  struct stat status = {};
  ASSERT_EQ(stat(target.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
  EXPECT_TRUE(!isRoot || (status.st_uid == 1234 && status.st_gid == 4321));
}

TEST_F(SettingsEdit, AMissingFileIsMadeAlsoBehindALinkAsTheMaskSays) {
  std::filesystem::create_symlink("target.conf", m_folder.file("link.conf"));
  std::filesystem::create_symlink("loop", m_folder.file("loop"));
  const mode_t mask = umask(027);
  const auto result = setInConfigFile(m_folder.file("link.conf"), "m", "k", "1");
  umask(mask);
  EXPECT_TRUE(result.created);
  EXPECT_EQ(result.path, m_folder.file("target.conf"));
  EXPECT_EQ(zrtest::readFile(result.path), "[m]\nk = 1\n");
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(result.path).permissions()), 0640U);
  for (const std::string& bad :
       {m_folder.file("none/x.conf"), m_folder.file(""), m_folder.file("loop"), std::string("/dev/null")})
    EXPECT_THAT(failure([&] { setInConfigFile(bad, "m", "k", "1"); }), HasSubstr("file: ")) << bad;
  EXPECT_THAT(failure([this] { unsetInConfigFile(m_folder.file("none"), "m", "k"); }), HasSubstr("no such file"));
}

TEST_F(SettingsEdit, AFullDiskLeavesTheOldFile) {
  const std::string before = "[m]\n#" + std::string(900, 'x') + "\nk = 1\n", path = m_folder.write("edit.conf", before);
  const auto editOnFullDisk = [&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{500, 500};
    setrlimit(RLIMIT_FSIZE, &limit);
    _exit(failure([&] { setInConfigFile(path, "m", "k", "2"); }).starts_with("file: cannot write") ? 0 : 1);
  };
  EXPECT_EXIT(editOnFullDisk(), testing::ExitedWithCode(0), "");
  EXPECT_EQ(zrtest::readFile(path), before);
  EXPECT_EQ(files(), 1);
}

TEST_F(SettingsEdit, AKillAtAnyMomentLeavesAWholeFile) {
  const std::string path = m_folder.write("edit.conf", "[m]\nk = 0\n# end\n");
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      for (int i = 0;; ++i)
        setInConfigFile(path, "m", "k", std::string(static_cast<std::size_t>(i % 900), 'y'));
    }
    usleep(random() % 8000);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string text = zrtest::readFile(path);
    ASSERT_TRUE(text.starts_with("[m]\nk = ") && text.ends_with("\n# end\n")) << text;
  }
  EXPECT_TRUE(setInConfigFile(path, "m", "k", "last").changed);  // what the dead left is in nobody's way
}

TEST_F(SettingsEdit, EditsAtTheSameTimeAreAllKept) {
  const std::string path = m_folder.write("edit.conf", "[m]\n");
  for (int process = 0; process < 4; ++process) {
    if (fork() != 0) continue;
    for (int i = 0; i < 10; ++i)
      setInConfigFile(path, "m", "k" + std::to_string(process * 10 + i), "1");
    _exit(0);
  }
  while (wait(nullptr) > 0) {
  }
  EXPECT_EQ(zrhost::readConfigSections(path)["m"].size(), 40U);
}

}  // namespace
