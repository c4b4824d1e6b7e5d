#include "cli/init_command.h"

#include <memory>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/standard_streams.h"

namespace zrcli {

namespace {

constexpr char kDescription[] =
    "Create a policy database.\n"
    "Creates the tables policy, policy_rule, ep_link and policy_revision, with the triggers that raise the revision at "
    "every change, in one transaction. An SQLite file that is missing is created, and put into WAL mode.\n"
    "\n"
    "A database that has any of these tables is left alone (status 73), unless --force is given.\n";

constexpr char kFooter[] =
    "EXAMPLES\n"
    "    zrpolicy init --sample --database sample.db\n"
    "        A new SQLite file with policies of a small mail site to try things with.\n"
    "    zrpolicy init --dsn policies --db-user admin --password-file ~/.zrpolicy\n"
    "        The tables in a database that odbc.ini names.\n";

std::string listOf(const char* heading, const std::vector<zrhost::TableCount>& tables) {
  std::int64_t rows = 0;
  std::string text;
  for (const zrhost::TableCount& table : tables) {
    rows += table.rows;
    text += "  " + table.table + ": " + std::to_string(table.rows) + '\n';
  }
  return text.empty() ? text : heading + std::to_string(rows) + " rows\n" + text;
}

int init(const CommandContext& context, const zrhost::InitOptions& options) {
  const zrhost::InitReport report = zrhost::PolicyDatabase::init(databaseOptions(context), options);
  StandardOutput output;
  output.write(listOf("dropped tables with ", report.dropped));
  output.write(listOf("created tables with ", report.created));
  output.close();
  return 0;
}

}  // namespace

void addInitCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("init", kDescription);
  command->footer(kFooter);
  const auto options = std::make_shared<zrhost::InitOptions>();
  command->add_flag("--sample", options->sample, "Fill in sample data: about 20 policies of a small mail site.")
      ->group("Options");
  command
      ->add_flag("--force", options->force,
                 "Drop the tables of these names first, and no others, and say how many rows went with them.")
      ->group("Options");
  addSettingOptions(*command, context);
  command->callback([&context, options] { context.run = [&context, options] { return init(context, *options); }; });
}

}  // namespace zrcli
