#include "cli/copy_command.h"

#include <filesystem>
#include <memory>
#include <string>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/import_report.h"
#include "host/base/terminal_text.h"
#include "host/import/DatabaseInput.h"
#include "host/settings/password_file.h"

namespace zrcli {

namespace {

constexpr char kCopyDescription[] =
    "Copy the policies of another database.\n"
    "Makes the content of the policy database that of another one (--from-database, --from-dsn), in one transaction, "
    "as import --replace does with a file, and leaves every byte alone. Moving from an SQLite file to a server, and "
    "back, is this one command. The other database may be of an older version; the one that is written must have been "
    "made by init.\n"
    "\n"
    "What would take away more than a fifth of the links, or the last default policy, is refused (status 73), unless "
    "--allow-drop is given.\n";

constexpr char kCopyFooter[] =
    "EXAMPLES\n"
    "    zrpolicy copy --from-database policies.db --dsn policies\n"
    "        From a file to the server.\n"
    "    zrpolicy copy --from-dsn policies --from-db-user mail --database policies.db --dry-run\n"
    "        How many rows of the file are not as those of the server.\n";

struct CopyArguments {
  zrhost::DatabaseOptions from;
  std::string passwordFile;
  bool json = false;
  zrhost::ImportOptions options;
};

// The other database is reached in the same way as this one: only where it is and who asks differ.
zrhost::DatabaseOptions sourceOptions(const CopyArguments& arguments, const zrhost::DatabaseOptions& target) {
  zrhost::DatabaseOptions source = target;
  source.file = arguments.from.file;
  source.dsn = arguments.from.dsn;
  source.user = arguments.from.user;
  source.password = arguments.passwordFile.empty() ? "" : zrhost::readPasswordFile(arguments.passwordFile);
  if (source.file.empty() && source.dsn.empty()) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            "copy: name the database to copy from: --from-database FILE or --from-dsn NAME");
  }
  return source;
}

void refuseItself(const zrhost::DatabaseOptions& source, const zrhost::DatabaseOptions& target) {
  std::error_code unknown;
  const bool isFile =
      !source.file.empty() && !target.file.empty() && std::filesystem::equivalent(source.file, target.file, unknown);
  if (!isFile && (source.dsn.empty() || source.dsn != target.dsn)) return;
  throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                          "copy: " + zrhost::terminalText(placeOf(source)) + " cannot be copied onto itself");
}

int copyPolicies(const CommandContext& context, const CopyArguments& arguments) {
  const zrhost::DatabaseOptions target = databaseOptions(context);
  zrhost::requireOneDatabase(target);
  const zrhost::DatabaseOptions source = sourceOptions(arguments, target);
  refuseItself(source, target);
  zrhost::ImportOptions options = arguments.options;
  options.mode = zrhost::WriteMode::kReplace;
  options.asIs = true;
  zrhost::DatabaseInput input(source);
  return importAndReport(input, target, options, arguments.json);
}

CLI::Option* addText(CLI::App& command, const char* name, std::string& value, const char* type,
                     const char* description) {
  return command.add_option(name, value, description)->type_name(type)->group("Source")->check(nonEmpty());
}

}  // namespace

void addCopyCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("copy", kCopyDescription);
  command->footer(kCopyFooter);
  const auto arguments = std::make_shared<CopyArguments>();
  CLI::Option* file = addText(*command, "--from-database", arguments->from.file, "FILE",
                              "The SQLite file that the policies are copied from.");
  addText(*command, "--from-dsn", arguments->from.dsn, "NAME", "The ODBC data source that they are copied from.")
      ->excludes(file);
  addText(*command, "--from-db-user", arguments->from.user, "USER", "The user that connects to that data source.")
      ->excludes(file);
  addText(*command, "--from-password-file", arguments->passwordFile, "FILE",
          "A file whose first line is that user's password.")
      ->excludes(file);
  addImportOptions(*command, arguments->options, arguments->json);
  addSettingOptions(*command, context);
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return copyPolicies(context, *arguments); }; });
}

}  // namespace zrcli
