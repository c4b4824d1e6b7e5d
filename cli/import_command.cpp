#include "cli/import_command.h"

#include <memory>
#include <string>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/import_report.h"
#include "host/import/PolicyFileInput.h"

namespace zrcli {

namespace {

constexpr char kImportDescription[] =
    "Bring policies in from a file.\n"
    "Reads a policy file, JSON Lines or CSV, see zrpolicy-file(5), and adds its rows to the policy database, or "
    "changes "
    "those of the same key, in one transaction. A link without link_id is known by its type, name and policy, and gets "
    "the next free ID when it is new. Only rows that differ are touched; where none does, the revision stays.\n"
    "\n"
    "What can only be meant one way is mended and counted: capitals of users, groups, other keys and members, blanks "
    "at the ends of names, a dot behind a host; 10.0.0.0/24, 10.0.0.5-10.0.0.9 and 10.0.0.5~10.0.0.9 become ranges, "
    "also where the type is IP; ::ffff:10.0.0.1 becomes 10.0.0.1, and a range of one address that address.\n"
    "\n"
    "A row that cannot be used fails everything: the first hundred are listed, and nothing is changed (status 65), "
    "unless --rejects names a file for them. So does what would take away more than a fifth of the links, or the last "
    "default policy (status 73), unless --allow-drop is given.\n";

constexpr char kImportFooter[] =
    "EXAMPLES\n"
    "    zrpolicy import --database policies.db site.jsonl\n"
    "        Rows are added or changed by their keys.\n"
    "    zrpolicy import --database policies.db --replace --dry-run site.jsonl\n"
    "        What would have to change to have the content of the file.\n"
    "    zrpolicy import --database policies.db --rejects bad.csv links.csv\n"
    "        What is good goes in; the rest can be mended in bad.csv and imported from there.\n";

struct ImportArguments {
  std::string file;
  bool replace = false;
  bool remove = false;
  bool json = false;
  zrhost::ImportOptions options;
};

int importPolicies(const CommandContext& context, const ImportArguments& arguments) {
  const zrhost::DatabaseOptions target = databaseOptions(context);
  zrhost::requireOneDatabase(target);
  zrhost::ImportOptions options = arguments.options;
  if (arguments.replace) options.mode = zrhost::WriteMode::kReplace;
  if (arguments.remove) options.mode = zrhost::WriteMode::kRemove;
  zrhost::PolicyFileInput input(arguments.file);
  return importAndReport(input, target, options, arguments.json);
}

void addFlags(CLI::App& command, ImportArguments& arguments) {
  CLI::Option* replace = command
                             .add_flag("--replace", arguments.replace,
                                       "Make the content that of the file: rows that it does not hold are removed.")
                             ->group("Import");
  command
      .add_flag("--remove", arguments.remove, "Remove the rows that the file names by their keys, in place of adding.")
      ->group("Import")
      ->excludes(replace);
  command
      .add_flag("--as-is", arguments.options.asIs,
                "Leave every byte alone: nothing is mended, and only what the tables refuse is rejected.")
      ->group("Import");
}

}  // namespace

void addImportCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("import", kImportDescription);
  command->footer(kImportFooter);
  const auto arguments = std::make_shared<ImportArguments>();
  command
      ->add_option("FILE", arguments->file,
                   "The policy file: JSON Lines, a folder of CSV files, one CSV file, or - for standard input.")
      ->type_name("FILE")
      ->option_text("FILE|FOLDER|-")
      ->required()
      ->group("Import");
  addFlags(*command, *arguments);
  command
      ->add_option("--rejects", arguments->options.rejects,
                   "A file, or for a folder a folder, that gets the rows that cannot be used, each with its reason, in "
                   "the format of the input. The others go in.")
      ->type_name("FILE")
      ->group("Import")
      ->check(nonEmpty());
  addImportOptions(*command, arguments->options, arguments->json);
  addSettingOptions(*command, context);
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return importPolicies(context, *arguments); }; });
}

}  // namespace zrcli
