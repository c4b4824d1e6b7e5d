#include "cli/help_command.h"

#include <memory>
#include <string>
#include <vector>

#include "cli/help_format.h"
#include "cli/standard_streams.h"
#include "host/base/HostError.h"

namespace zrcli {

namespace {

constexpr char kHelpDescription[] =
    "Show the usage of a command.\n"
    "Lists what the program or one of its commands takes, a line or two each. The manual of a command is what its own "
    "--help prints.\n";

int help(const CLI::App& program, const std::vector<std::string>& words) {
  const CLI::App* command = &program;
  for (const std::string& word : words) {
    const auto named = command->get_subcommands([&word](const CLI::App* each) { return each->get_name() == word; });
    if (named.empty()) {
      throw zrhost::HostError(zrhost::ErrorKind::kUsage, "there is no command '" + word + "'; see zrpolicy help");
    }
    command = named.front();
  }
  return printAll(shortUsage(*command));
}

}  // namespace

void addHelpCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("help", kHelpDescription);
  const auto words = std::make_shared<std::vector<std::string>>();
  command->add_option("COMMAND", *words, "The command, and its own command.")->group("Arguments");
  command->callback([&program, &context, words] { context.run = [&program, words] { return help(program, *words); }; });
}

}  // namespace zrcli
