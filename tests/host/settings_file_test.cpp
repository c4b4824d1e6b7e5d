#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

#include "common/temp_folder.h"
#include "host/base/HostError.h"
#include "host/settings/ConfigCheck.h"
#include "host/settings/SettingDefinition.h"
#include "host/settings/Settings.h"
#include "host/settings/password_file.h"

namespace {

using testing::HasSubstr;
using zrhost::Settings;
using zrhost::SettingsRequest;

class SettingsFile : public testing::Test {
 protected:
  SettingsFile() {
    for (const char* variable : {"ZRPOLICY_CONFIG", "ZRPOLICY_PASSWORD"})
      unsetenv(variable);
  }

  SettingsRequest request(const std::string& text, const std::map<std::string, std::string>& options = {}) {
    SettingsRequest request{m_folder.write("zr.conf", text), {}};
    for (const auto& setting : zrhost::settingDefinitions()) {
      const auto given = setting.option.name == nullptr ? options.end() : options.find(setting.option.name);
      if (given != options.end()) request.given[&setting] = given->second;
    }
    return request;
  }

  // "kind: text" of the failure, or nothing.
  template <typename Call>
  static std::string failureOf(Call call) {
    try {
      call();
      return "";
    } catch (const zrhost::HostError& error) {
      return std::string(error.kind() == zrhost::ErrorKind::kUsage ? "usage: " : "file: ") + error.what();
    }
  }
  static std::string failure(const SettingsRequest& request) {
    return failureOf([&request] { Settings(request).database(); });
  }

  zrtest::TempFolder m_folder;
};

TEST_F(SettingsFile, OptionsWinOverTheFileAndTheFileOverDefaults) {
  const std::string file = "[database]\nfile = a.db\nretries = 3\nuser =\n[log]\nlevel = 2\n";
  const Settings settings(request(file, {{"--log-level", "4"}, {"--dsn", "main"}}));
  EXPECT_EQ(settings.options().log.level, 4);
  const zrhost::DatabaseOptions database = settings.database();
  EXPECT_EQ(database.retries, 3);
  EXPECT_EQ(database.connectTimeout, 5);
  EXPECT_EQ(database.user, "");
  // A data source on the command line puts the file's database aside.
  EXPECT_EQ(database.dsn, "main");
  EXPECT_EQ(database.file, "");
}

TEST_F(SettingsFile, TheFileIsFoundByOptionThenByEnvironment) {
  const std::string one = m_folder.write("1.conf", "[log]\nlevel=1"), two = m_folder.write("2.conf", "[log]\nlevel=2");
  setenv("ZRPOLICY_CONFIG", one.c_str(), 1);
  EXPECT_EQ(Settings({}).options().log.level, 1);
  EXPECT_EQ(Settings({two, {}}).options().log.level, 2);
  setenv("ZRPOLICY_CONFIG", m_folder.file("none").c_str(), 1);
  EXPECT_THAT(failure({}), HasSubstr("file: ZRPOLICY_CONFIG: cannot read " + m_folder.file("none") + ": No such"));
  EXPECT_THAT(failure({m_folder.path().string(), {}}), HasSubstr("file: --config: cannot read"));
}

TEST_F(SettingsFile, BadValuesAreErrorsThatNameThem) {
  const std::pair<const char*, const char*> kCases[] = {
      {"[database]\npool_size = many", "[database] pool_size = \"many\": not a whole number from 1 to 1024"},
      {"[database]\nretries = 1 # once", "[database] retries = \"1 # once\": not"},
      {"[database]\nretries = 1\\\n2", "[database] retries = \"1\\n2\": not"},
      {"[database]\nretries =", "[database] retries = \"\": not"},
      {"[log]\nlevel = 99999999999999999999", "[log] level = \"99999999999999999999\": not a whole number from 0 to 4"},
      {"[database]\nfile = a\ndsn = b", "[database] file and dsn are both set; give one of them"},
  };
  for (const auto& [text, error] : kCases)
    EXPECT_THAT(failure(request(text)), HasSubstr("usage: " + m_folder.file("zr.conf") + ": " + error)) << text;
  EXPECT_THAT(failure(request("", {{"--retries", "0"}})), HasSubstr("usage: --retries: [database] retries"));
  EXPECT_THAT(failure(request("", {{"--database", "a"}, {"--dsn", "b"}})), HasSubstr("--database and --dsn are both"));
  EXPECT_THAT(failure(request("")), HasSubstr("usage: no database is named"));
}

TEST_F(SettingsFile, PasswordFileIsReadWhereItsOwnerKeepsItFromOthers) {
  const std::string path = m_folder.write("password", "geheim\r\nsecond line\n");
  const uid_t self = geteuid(), other = 4321;
  const struct {
    uid_t owner;
    mode_t mode;
    const char* refusal;
  } kCases[] = {
      {self, 0600, ""},
      {self, 0640, ""},
      {self, 0644, "others may read or write it"},
      {self, 0602, "others may read or write it"},
      {self, 0660, "its group may write it"},
      {other, 0600, ""},
      {other, 0640, "its owner is neither you nor root"},
  };
  for (const auto& each : kCases) {
    if (each.owner != self && self != 0) continue;  // only root gives files away, and only root reads them then
    ASSERT_EQ(chown(path.c_str(), each.owner, static_cast<gid_t>(-1)), 0);
    ASSERT_EQ(chmod(path.c_str(), each.mode), 0);
    const std::string refusal = failureOf([&path] { EXPECT_EQ(zrhost::readPasswordFile(path), "geheim"); });
    EXPECT_EQ(refusal.empty(), *each.refusal == '\0') << refusal;
    EXPECT_THAT(refusal, HasSubstr(each.refusal));
  }
  EXPECT_THAT(failureOf([this] { zrhost::readPasswordFile(m_folder.file("none")); }),
              HasSubstr("usage: password file"));
}

TEST_F(SettingsFile, PasswordComesFromOptionThenEnvironmentThenFile) {
  const std::string path = m_folder.write("password", "of the file");
  ASSERT_EQ(chmod(path.c_str(), 0600), 0);
  const std::string file = "[database]\ndsn = main\npassword_file = " + path + "\n";
  EXPECT_EQ(Settings(request(file)).database().password, "of the file");
  setenv("ZRPOLICY_PASSWORD", "of the environment", 1);
  EXPECT_EQ(Settings(request(file)).database().password, "of the environment");
  EXPECT_EQ(Settings(request(file, {{"--password-file", path}})).database().password, "of the file");
  EXPECT_EQ(Settings(request(file, {{"--database", "a.db"}})).database().password, "") << "SQLite has none";
}

// A settings file, and the beginnings of what is found in it.
TEST_F(SettingsFile, CheckFindsWhatWasProbablyNotMeant) {
  const std::pair<std::string, std::vector<std::string>> kCases[] = {
      {"# fine\n\n[database]\r\nfile = a#b\r\nretries=3\n [log]\t\nlevel=4", {}},
      {"level = 1\n[log\n[ log ]\n[log]\nlevel 2\nmy level = 2\n\xEF\xBB\xBF# x\n",
       {"1: the line is dropped: a setting before", "2: the line is dropped: a section header without",
        "3: the line is dropped: no section name", "5: the line is dropped: neither",
        "6: the line is dropped: a name may", "7: the line is dropped: neither"}},
      {"[log] # x\nlevel = 1\nlevel = 2",
       {"1: only the section's name", "3: [log] level is set again; the value of line 2"}},
      {"[database]\nfile = " + std::string(1100, 'x') + "\nretries = x\n",
       {"2: the line is longer than 1023 bytes", "2: the line is dropped",
        "3: [database] retries = \"x\": not a whole"}},
      {"[database]\nfile = a # note\nuser = b\r\r\ndsn = \npassword_file = c\t\n",
       {"2: [database] file holds the #", "3: [database] user holds a carriage return",
        "5: [database] password_file ends in blanks"}},
      {"[database]\nfile = a\\\n  b #c\n\ndsn = d\nfile = e\\\n",
       {"3: [database] file holds the #", "6: [database] file is set again", "6: [database] file ends in a backslash",
        "6: [database] file and dsn (line 5) are both set"}},
      {"[databse]\nfile=1\ndsn=2\n[database]\nretrys=1\nPASSWORD=geheim",
       {"2: unknown section [databse], did you mean [database]?",
        "5: unknown setting \"retrys\" in [database], did you mean \"retries\"?",
        "6: unknown setting \"PASSWORD\" in [database], did you mean \"password_file\"?"}},
      {std::string("[log]\nlevel = 1\0\n", 16), {"2: the line holds a zero byte"}},
  };
  for (const auto& [text, expected] : kCases) {
    std::vector<std::string> found;
    for (const auto& finding : zrhost::checkConfigText(text))
      found.push_back(std::to_string(finding.line) + ": " + finding.text);
    ASSERT_EQ(found.size(), expected.size()) << text << testing::PrintToString(found);
    for (std::size_t i = 0; i < found.size(); ++i)
      EXPECT_THAT(found[i], testing::StartsWith(expected[i]));
  }
  EXPECT_THROW(zrhost::checkConfigFile(m_folder.path().string()), zrhost::HostError);
}

TEST_F(SettingsFile, SampleAndManualPageShowEverySettingWithLimitsAndDefault) {
  const std::string sample = zrtest::readFile(ZR_SOURCE_FOLDER "/packaging/zrpolicy.conf");
  const std::string manual = zrtest::readFile(ZR_SOURCE_FOLDER "/docs/man/zrpolicy.conf.5");
  EXPECT_TRUE(zrhost::checkConfigText(sample).empty());
  for (const auto& setting : zrhost::settingDefinitions()) {
    const std::string help = setting.help, limits = setting.limits(), byDefault = setting.defaultText();
    EXPECT_THAT(sample, HasSubstr("# " + help + (limits.empty() ? "" : " " + limits + ".") + "\n#" + setting.name +
                                  " = " + byDefault));
    const std::string item = std::string(".It Cm ") + setting.name + "\n";
    const std::size_t section = manual.find(".Ss [" + std::string(setting.section) + "]\n");
    EXPECT_THAT(manual.substr(manual.find(item, section)),
                testing::StartsWith(item + (limits.empty() ? "" : help + "\n" + limits + ", default " + byDefault)));
  }
}

}  // namespace
