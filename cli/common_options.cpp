#include "cli/common_options.h"

#include <string>

#include "host/settings/SettingDefinition.h"

namespace zrcli {

namespace {

struct SettingOption {
  const char* option;
  const char* section;
  const char* name;
  const char* valueName;
  const char* group;
};

constexpr char kDataSource[] = "Data source";
constexpr char kConnection[] = "Connection";
constexpr char kGeneral[] = "General";

constexpr SettingOption kSettingOptions[] = {
    {"--database", "database", "file", "FILE", kDataSource},
    {"--dsn", "database", "dsn", "NAME", kDataSource},
    {"--db-user", "database", "user", "USER", kDataSource},
    {"--password-file", "database", "password_file", "FILE", kDataSource},
    {"--pool-size", "database", "pool_size", "NUMBER", kConnection},
    {"--connect-timeout", "database", "connect_timeout", "SECONDS", kConnection},
    {"--retry-wait", "database", "retry_wait", "SECONDS", kConnection},
    {"--retries", "database", "retries", "NUMBER", kConnection},
    {"--read-timeout", "database", "read_timeout", "SECONDS", kConnection},
    {"--sql-dir", "sql", "directory", "FOLDER", kGeneral},
    {"--log-level", "log", "level", "LEVEL", kGeneral},
};

std::string helpOf(const zrhost::SettingDefinition& setting) {
  std::string text = setting.help;
  if (setting.kind == zrhost::SettingKind::kNumber) {
    text += " From " + std::to_string(setting.minimum) + " to " + std::to_string(setting.maximum) + ".";
  }
  if (setting.defaultValue != nullptr) text += std::string(" Default: ") + setting.defaultValue + '.';
  return text;
}

std::string refuseEmpty(const std::string& value) {
  return value.empty() ? "the value is empty" : std::string();
}

void addSettingOption(CLI::App& command, CommandContext& context, const SettingOption& row) {
  const zrhost::SettingDefinition& setting = *zrhost::findSetting(row.section, row.name);
  const auto store = [&context, key = setting.key(), option = row.option](const std::string& value) {
    context.given[key] = value;
    context.optionNames[key] = option;
  };
  command.add_option_function<std::string>(row.option, store, helpOf(setting))
      ->type_name(row.valueName)
      ->group(row.group)
      ->check(CLI::Validator(refuseEmpty, ""));
}

}  // namespace

void addSettingOptions(CLI::App& command, CommandContext& context) {
  for (const SettingOption& row : kSettingOptions)
    addSettingOption(command, context, row);
  addConfigOption(command, context);
}

void addConfigOption(CLI::App& command, CommandContext& context) {
  command
      .add_option("--config", context.configFile,
                  "The configuration file with the settings that no option gives. Default: the file that "
                  "ZRPOLICY_CONFIG names, else /etc/zrpolicy/zrpolicy.conf when it is there.")
      ->type_name("FILE")
      ->group(kGeneral)
      ->check(CLI::Validator(refuseEmpty, ""));
}

void addStrictOption(CLI::App& command, CommandContext& context) {
  command
      .add_flag("--strict", context.strict,
                "The first row of the database that cannot be used ends the command with status 65. Otherwise such "
                "rows are reported and left out.")
      ->group(kGeneral);
}

}  // namespace zrcli
