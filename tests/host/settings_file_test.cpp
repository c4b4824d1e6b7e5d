#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/temp_folder.h"
#include "host/settings/ConfigCheck.h"
#include "host/settings/SettingDefinition.h"
#include "host/settings/Settings.h"

namespace {

using testing::HasSubstr;
using zrhost::ErrorKind;
using zrhost::Settings;
using zrhost::SettingSource;
using zrhost::SettingsRequest;

class SettingsFile : public testing::Test {
 protected:
  void SetUp() override { unsetenv("ZRPOLICY_CONFIG"); }

  SettingsRequest request(const std::string& text) { return {m_folder.write("zr.conf", text), {}, {}}; }

  // "kind: text" of the failure, or nothing.
  static std::string failure(const SettingsRequest& request) {
    try {
      const Settings settings(request);
      return "";
    } catch (const zrhost::HostError& error) {
      return std::string(error.kind() == zrhost::ErrorKind::kUsage ? "usage: " : "file: ") + error.what();
    }
  }

  zrtest::TempFolder m_folder;
};

TEST_F(SettingsFile, OptionsWinOverTheFileAndTheFileOverDefaults) {
  SettingsRequest given = request("[database]\nfile = a.db\nretries = 3\nuser =\n[log]\nlevel = 2\n");
  given.given = {{"log.level", "4"}, {"database.dsn", "main"}};
  given.optionNames = {{"log.level", "--log-level"}};
  const Settings settings(given);
  EXPECT_EQ(settings.number("log", "level"), 4);
  EXPECT_EQ(settings.get("log", "level").origin, "--log-level");
  EXPECT_EQ(settings.number("database", "retries"), 3);
  EXPECT_EQ(settings.get("database", "retries").source, SettingSource::kFile);
  EXPECT_FALSE(settings.get("database", "user").isSet);
  // A data source on the command line puts the file's database aside.
  EXPECT_EQ(settings.text("database", "dsn"), "main");
  EXPECT_FALSE(settings.get("database", "file").isSet);
}

TEST_F(SettingsFile, TheFileIsFoundByOptionThenByEnvironment) {
  const std::string one = m_folder.write("1.conf", "[log]\nlevel=1"), two = m_folder.write("2.conf", "[log]\nlevel=2");
  setenv("ZRPOLICY_CONFIG", one.c_str(), 1);
  EXPECT_EQ(Settings(SettingsRequest{}).number("log", "level"), 1);
  EXPECT_EQ(Settings(SettingsRequest{}).file().source, SettingSource::kEnvironment);
  EXPECT_EQ(Settings({two, {}, {}}).number("log", "level"), 2);
  setenv("ZRPOLICY_CONFIG", m_folder.file("none").c_str(), 1);
  EXPECT_THAT(failure({}), HasSubstr("file: cannot read the settings file " + m_folder.file("none") +
                                     " (from ZRPOLICY_CONFIG): No such"));
  EXPECT_THAT(failure({m_folder.path().string(), {}, {}}), HasSubstr("(from --config): it is a folder"));
}

TEST_F(SettingsFile, BadValuesAreErrorsThatNameThem) {
  const struct {
    const char* text;
    const char* error;
  } kCases[] = {
      {"[database]\npool_size = many", "[database] pool_size = \"many\": not a whole number from 1 to 1024"},
      {"[database]\npool_size = 1025", "[database] pool_size = \"1025\": not"},
      {"[database]\nretries = 1 # once", "[database] retries = \"1 # once\": not"},
      {"[database]\nretries = 1\\\n2", "[database] retries = \"1\\n2\": not"},
      {"[database]\nretries =", "[database] retries = \"\": not"},
      {"[log]\nlevel = 99999999999999999999", "[log] level = \"99999999999999999999\": not"},
      {"[log]\nlevel = -1", "[log] level = \"-1\": not a whole number from 0 to 4"},
      {"[database]\nfile = a\ndsn = b", "[database] file and dsn are both set; give one of them"},
  };
  for (const auto& each : kCases) {
    EXPECT_THAT(failure(request(each.text)), HasSubstr("usage: " + m_folder.file("zr.conf") + ": " + each.error))
        << each.text;
  }
  EXPECT_THAT(failure({"", {{"database.retries", "0"}}, {{"database.retries", "--retries"}}}),
              HasSubstr("usage: --retries: [database] retries"));
  EXPECT_THAT(failure({"", {{"database.file", "a"}, {"database.dsn", "b"}}, {}}), HasSubstr("are both set"));
}

TEST_F(SettingsFile, UnknownNamesGetAWarningWithTheNearestKnownOne) {
  const Settings settings(request("[databse]\nfile=1\ndsn=1\n[database]\nretrys = 1\nPASSWORD = geheim\n[SQL]\nx=1\n"));
  const std::string path = m_folder.file("zr.conf") + ": ";
  EXPECT_THAT(settings.warnings(),
              testing::ElementsAre(path + "unknown section [SQL], did you mean [sql]?",
                                   path + "unknown setting \"PASSWORD\" in [database], did you mean \"password_file\"?",
                                   path + "unknown setting \"retrys\" in [database], did you mean \"retries\"?",
                                   path + "unknown section [databse], did you mean [database]?"));
}

TEST_F(SettingsFile, CheckFindsWhatWasProbablyNotMeant) {
  const struct {
    std::string text;
    std::vector<std::string> findings;  // "line: beginning of the text"
  } kCases[] = {
      {"# fine\n\n[database]\r\nfile = a#b\r\nretries=3\n [log]\t\nlevel=4", {}},
      {"level = 1\n[log\n[ log ]\n[log]\nlevel 2\nmy level = 2\n\xEF\xBB\xBF# x\n",
       {"1: the line is dropped: a setting before", "2: the line is dropped: a section header without",
        "3: the line is dropped: no section name", "5: the line is dropped: neither",
        "6: the line is dropped: a name may", "7: the line is dropped: neither"}},
      {"[log] # x\nlevel = 1\nlevel = 2\nlevel = 3",
       {"1: only the section's name", "3: [log] level is set again; the value of line 2",
        "4: [log] level is set again; the value of line 3"}},
      {"[database]\nfile = " + std::string(1100, 'x') + "\nretries = x\n",
       {"2: the line is longer than 1023 bytes", "2: the line is dropped",
        "3: [database] retries = \"x\": not a whole"}},
      {"[database]\nfile = a # note\nuser = b\r\r\ndsn = \npassword_file = c\t\n",
       {"2: [database] file holds the #", "3: [database] user holds a carriage return",
        "5: [database] password_file ends in blanks"}},
      {"[database]\nfile = a\\\n  b #c\n\ndsn = d\nfile = e\\\n",
       {"3: [database] file holds the #", "6: [database] file is set again", "6: [database] file ends in a backslash",
        "6: [database] file and dsn are both set, the other one in line 5"}},
      {"[dtabase]\nfile=1\ndsn=2\n[log]\nLevel=1",
       {"2: unknown section [dtabase]", "5: unknown setting \"Level\" in [log]"}},
      {std::string("[log]\nlevel = 1\0\n", 16), {"2: the line holds a zero byte"}},
  };
  for (const auto& each : kCases) {
    std::vector<std::string> found;
    for (const auto& finding : zrhost::checkConfigText(each.text)) {
      found.push_back(std::to_string(finding.line) + ": " + finding.text);
    }
    ASSERT_EQ(found.size(), each.findings.size()) << each.text << testing::PrintToString(found);
    for (std::size_t i = 0; i < found.size(); ++i)
      EXPECT_THAT(found[i], testing::StartsWith(each.findings[i]));
  }
  EXPECT_THROW(zrhost::checkConfigFile(m_folder.path().string()), zrhost::HostError);
}

TEST_F(SettingsFile, SampleAndManualPageShowEverySettingWithRangeAndDefault) {
  const std::string sample = zrtest::readFile(ZR_SOURCE_FOLDER "/packaging/zrpolicy.conf");
  const std::string manual = zrtest::readFile(ZR_SOURCE_FOLDER "/docs/man/zrpolicy.conf.5");
  EXPECT_TRUE(zrhost::checkConfigText(sample).empty());
  for (const auto& setting : zrhost::settingDefinitions()) {
    const bool isNumber = setting.kind == zrhost::SettingKind::kNumber;
    const std::string range = "From " + std::to_string(setting.minimum) + " to " + std::to_string(setting.maximum);
    const std::string name = setting.name, value = isNumber ? setting.defaultValue : "";
    EXPECT_THAT(sample, HasSubstr(std::string("# ") + setting.help + (isNumber ? " " + range + "." : "") + "\n#" +
                                  name + " = " + value));
    const std::size_t item =
        manual.find(".It Cm " + name + "\n", manual.find(std::string(".Ss [") + setting.section + "]\n"));
    ASSERT_NE(item, std::string::npos) << name;
    const std::string limits = isNumber ? range + ", default " + value + ".\n" : "";
    EXPECT_THAT(manual.substr(item),
                testing::StartsWith(".It Cm " + name + "\n" + (isNumber ? setting.help + ("\n" + limits) : "")));
  }
}

}  // namespace
