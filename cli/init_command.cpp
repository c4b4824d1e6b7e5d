#include "cli/init_command.h"

#include <memory>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/standard_streams.h"

namespace zrcli {

namespace {

constexpr char kInitDescription[] =
    "Create a policy database.\n"
    "Creates the tables policy, policy_rule, ep_link, group_member and policy_revision, with the triggers that raise "
    "the revision at every change, in one transaction. An SQLite file that is missing is created, and put into WAL "
    "mode.\n"
    "\n"
    "A database that has any of these tables is left alone (status 73), unless --force or --upgrade is given.\n";

constexpr char kInitFooter[] =
    "EXAMPLES\n"
    "    zrpolicy init --sample --database sample.db\n"
    "        A new SQLite file with policies of a small mail site to try things with.\n"
    "    zrpolicy init --dsn policies --db-user admin --password-file ~/.zrpolicy\n"
    "        The tables in a database that odbc.ini names.\n"
    "    zrpolicy init --upgrade --database policies.db\n"
    "        A database that an older zrpolicy made gets what this one can use.\n";

std::string listOf(const char* heading, const std::vector<zrhost::TableCount>& tables) {
  std::int64_t rows = 0;
  std::string text;
  for (const zrhost::TableCount& table : tables) {
    rows += table.rows;
    text += "  " + table.table + ": " + std::to_string(table.rows) + '\n';
  }
  return text.empty() ? text : heading + std::to_string(rows) + " rows\n" + text;
}

std::string make(const CommandContext& context, const zrhost::InitOptions& options) {
  const zrhost::InitReport report = zrhost::PolicyDatabase::init(databaseOptions(context), options);
  return listOf("dropped tables with ", report.dropped) + listOf("created tables with ", report.created);
}

std::string upgrade(const CommandContext& context) {
  const zrhost::UpgradeReport report = zrhost::PolicyDatabase::upgrade(databaseOptions(context));
  const std::string to = std::to_string(report.to);
  if (report.from == report.to) return "nothing to do: the database has version " + to + "\n";
  return "upgraded from version " + std::to_string(report.from) + " to " + to +
         ": added the table group_member; content, epoch and grants are kept\n";
}

// What init was asked to do.
struct Wish {
  zrhost::InitOptions options;
  bool upgrade = false;
};

int init(const CommandContext& context, const Wish& wish) {
  const std::string done = wish.upgrade ? upgrade(context) : make(context, wish.options);
  StandardOutput output;
  output.write(done);
  output.close();
  return 0;
}

}  // namespace

void addInitCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("init", kInitDescription);
  command->footer(kInitFooter);
  const auto wish = std::make_shared<Wish>();
  CLI::Option* sample =
      command
          ->add_flag("--sample", wish->options.sample, "Fill in sample data: about 20 policies of a small mail site.")
          ->group("Options");
  CLI::Option* force = command
                           ->add_flag("--force", wish->options.force,
                                      "Drop the tables of these names first, and no others, and say how many rows "
                                      "went with them. Owners and grants are kept.")
                           ->group("Options");
  command
      ->add_flag("--upgrade", wish->upgrade,
                 "Bring a database of an older version up to date, and keep its content, epoch and grants.")
      ->group("Options")
      ->excludes(sample)
      ->excludes(force);
  addSettingOptions(*command, context);
  command->callback([&context, wish] { context.run = [&context, wish] { return init(context, *wish); }; });
}

}  // namespace zrcli
