#include "cli/config_command.h"

#include <memory>
#include <string>

#include "cli/common_options.h"
#include "cli/config_show.h"
#include "cli/standard_streams.h"
#include "host/base/terminal_text.h"
#include "host/settings/ConfigCheck.h"
#include "host/settings/Settings.h"
#include "host/settings/settings_edit.h"

namespace zrcli {

namespace {

using zrhost::terminalText;

constexpr int kOk = 0;
constexpr int kNothing = 1;  // not set, or findings

constexpr char kConfigDescription[] =
    "Show, check and edit the settings.\n"
    "The settings stand in a configuration file, see zrpolicy.conf(5): the file of --config, else the one that the "
    "environment variable ZRPOLICY_CONFIG names, else /etc/zrpolicy/zrpolicy.conf when it is there.\n";

constexpr char kShow[] =
    "Show the settings that hold.\n"
    "Lists every setting, or those of one section, with its value and where that comes from: an option, the "
    "environment, the configuration file or the default. A password is never shown.\n";

constexpr char kGet[] =
    "Print one setting of the file.\n"
    "Prints the value as the file has it. Status 1 when the file does not set it, also where a default holds then.\n";

constexpr char kCheck[] =
    "Check the configuration file.\n"
    "Lists with their lines: lines that are dropped in silence, settings that are set twice, lines over 1023 bytes, "
    "trailing comments, carriage returns and blanks that became part of a value, unknown names, bad values. Status 1 "
    "when there is any.\n";

constexpr char kSet[] =
    "Set one setting in the file.\n"
    "Changes the setting in its place, or adds it, and leaves every other byte of the file as it is. A missing file is "
    "made. What happens on the way, a full disk or a kill, leaves the old file or the new one.\n"
    "\n"
    "A value that begins with a - needs -- in front of the arguments.\n";

constexpr char kUnset[] =
    "Remove one setting from the file.\n"
    "Removes it wherever the file sets it, and leaves every other byte as it is.\n";

constexpr char kConfigFooter[] =
    "EXAMPLES\n"
    "    zrpolicy config show database\n"
    "    zrpolicy config set database file /var/lib/zrpolicy/policy.db\n"
    "    zrpolicy config check --config new.conf\n";

struct Arguments {
  std::string section, name, value;
};

zrhost::SettingsFile fileOf(const CommandContext& context) {
  return zrhost::findSettingsFile(context.settings.configFile);
}

int show(const CommandContext& context, const Arguments& wanted) {
  const zrhost::Settings settings(context.settings);
  printWarnings(settings.warnings());
  return printAll(settingsTable(settings, wanted.section));
}

int get(const CommandContext& context, const Arguments& wanted) {
  const zrhost::SettingsFile file = fileOf(context);
  const auto value = zrhost::settingInFile(file, wanted.section, wanted.name);
  if (value) return printAll(*value + '\n');
  printError(zrhost::settingTitle(wanted.section, wanted.name) + " is not set in " + file.path);
  return kNothing;
}

int check(const CommandContext& context, const Arguments&) {
  const std::string path = zrhost::requiredSettingsFile(fileOf(context));
  std::string text;
  for (const zrhost::ConfigFinding& finding : zrhost::checkConfigFile(path)) {
    text += terminalText(path) + ':' + std::to_string(finding.line) + ": " + finding.text + '\n';
  }
  const bool isFine = text.empty();
  printAll(isFine ? terminalText(path) + ": no findings\n" : text);
  return isFine ? kOk : kNothing;
}

int set(const CommandContext& context, const Arguments& wanted) {
  const auto change = zrhost::setInFile(fileOf(context), wanted.section, wanted.name, wanted.value);
  printWarnings(change.warnings);
  return printAll(change.edit.created ? "made " + terminalText(change.edit.path) + '\n' : "");
}

int unset(const CommandContext& context, const Arguments& wanted) {
  const zrhost::SettingsFile file = fileOf(context);
  const zrhost::ConfigEditResult edit = zrhost::unsetInFile(file, wanted.section, wanted.name);
  const std::string title = zrhost::settingTitle(wanted.section, wanted.name);
  return printAll(edit.changed ? "" : title + " was not set in " + terminalText(file.path) + '\n');
}

using Action = int (*)(const CommandContext&, const Arguments&);

// One of the commands below `config`; the arguments are the caller's to add.
CLI::App* addAction(CLI::App& config, CommandContext& context, const char* name, const char* description,
                    const std::shared_ptr<Arguments>& arguments, Action action) {
  CLI::App* command = config.add_subcommand(name, description);
  command->callback([&context, arguments, action] {
    context.run = [&context, arguments, action] { return action(context, *arguments); };
  });
  return command;
}

void addPlace(CLI::App& command, const std::shared_ptr<Arguments>& arguments) {
  command.add_option("SECTION", arguments->section, "The section, without brackets.")->required()->group("Arguments");
  command.add_option("NAME", arguments->name, "The setting's name.")->required()->group("Arguments");
}

}  // namespace

void addConfigCommand(CLI::App& program, CommandContext& context) {
  CLI::App* config = program.add_subcommand("config", kConfigDescription);
  config->footer(kConfigFooter);
  config->require_subcommand(0, 1);
  const auto arguments = std::make_shared<Arguments>();

  CLI::App* command = addAction(*config, context, "show", kShow, arguments, show);
  command->add_option("SECTION", arguments->section, "Only this section.")->group("Arguments");
  addSettingOptions(*command, context);

  command = addAction(*config, context, "get", kGet, arguments, get);
  addPlace(*command, arguments);
  addConfigOption(*command, context);

  command = addAction(*config, context, "check", kCheck, arguments, check);
  addConfigOption(*command, context);

  command = addAction(*config, context, "set", kSet, arguments, set);
  addPlace(*command, arguments);
  command->add_option("VALUE", arguments->value, "The new value; it may be empty.")->required()->group("Arguments");
  addConfigOption(*command, context);

  command = addAction(*config, context, "unset", kUnset, arguments, unset);
  addPlace(*command, arguments);
  addConfigOption(*command, context);
}

}  // namespace zrcli
