#include "cli/common_options.h"

#include <string>

#include "host/settings/SettingDefinition.h"

namespace zrcli {

namespace {

std::string helpOf(const zrhost::SettingDefinition& setting) {
  const std::string limits = setting.limits(), byDefault = setting.defaultText();
  return setting.help + (limits.empty() ? "" : " " + limits + ".") +
         (byDefault.empty() ? "" : " Default: " + byDefault + ".");
}

}  // namespace

CLI::Validator nonEmpty() {
  return {[](const std::string& value) { return value.empty() ? "the value is empty" : std::string(); }, ""};
}

void addSettingOptions(CLI::App& command, CommandContext& context) {
  for (const zrhost::SettingDefinition& setting : zrhost::settingDefinitions()) {
    if (setting.option.name == nullptr) continue;
    const auto store = [&context, &setting](const std::string& value) { context.settings.given[&setting] = value; };
    command.add_option_function<std::string>(setting.option.name, store, helpOf(setting))
        ->type_name(setting.option.valueName)
        ->group(setting.option.group)
        ->check(nonEmpty());
  }
  addConfigOption(command, context);
}

void addConfigOption(CLI::App& command, CommandContext& context) {
  command
      .add_option("--config", context.settings.configFile,
                  "The configuration file with the settings that no option gives. Default: the file that "
                  "ZRPOLICY_CONFIG names, else /etc/zrpolicy/zrpolicy.conf when it is there.")
      ->type_name("FILE")
      ->group("General")
      ->check(nonEmpty());
}

void addStrictOption(CLI::App& command, CommandContext& context) {
  command
      .add_flag("--strict", context.strict,
                "The first row of the database that cannot be used ends the command with status 65. Otherwise such "
                "rows are reported and left out.")
      ->group("General");
}

}  // namespace zrcli
