#include "cli/export_command.h"

#include <memory>
#include <string>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/standard_streams.h"
#include "host/database/PolicyDatabase.h"
#include "host/policyfile/PolicyFileWriter.h"

namespace zrcli {

namespace {

constexpr char kExportDescription[] =
    "Write the policies to a file.\n"
    "Writes all rows of one state of the policy database, sorted by their keys, to a policy file: JSON Lines, or a "
    "folder "
    "of CSV files; see zrpolicy-file(5). Equal content gives equal bytes, and one changed row is one changed line. The "
    "file is written beside the old one and takes its place when it is whole, so a failure leaves the old one. Without "
    "a file, and with -, JSON Lines go to standard output.\n";

constexpr char kExportFooter[] =
    "EXAMPLES\n"
    "    zrpolicy export --database sample.db policies.jsonl\n"
    "        All policies in a file for a version control system.\n"
    "    zrpolicy export --database sample.db --format csv policies/\n"
    "        The same for a spreadsheet, one file a table.\n";

constexpr char kStandardOutput[] = "-";

struct ExportArguments {
  std::string path = kStandardOutput;
  std::string format = "jsonl";
};

void exportTo(zrhost::PolicyFileWriter& writer, const CommandContext& context) {
  zrhost::PolicyDatabase database(databaseOptions(context));
  database.readByKey(writer);
  writer.commit();
}

int exportPolicies(const CommandContext& context, const ExportArguments& arguments) {
  const bool isCsv = arguments.format == "csv";
  if (arguments.path != kStandardOutput) {
    exportTo(*zrhost::makePolicyFileWriter(
                 arguments.path, isCsv ? zrhost::PolicyFileFormat::kCsv : zrhost::PolicyFileFormat::kJsonLines),
             context);
    return 0;
  }
  if (isCsv) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage, "export: --format csv makes a folder of files; name the folder");
  }
  StandardOutput output;
  exportTo(*zrhost::makePolicyFileWriter([&output](std::string_view text) { output.write(text); }), context);
  output.close();
  return 0;
}

}  // namespace

void addExportCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("export", kExportDescription);
  command->footer(kExportFooter);
  const auto arguments = std::make_shared<ExportArguments>();
  command
      ->add_option("FILE", arguments->path,
                   "The file, or with --format csv the folder, that is written. Default: standard output.")
      ->type_name("FILE")
      ->option_text("FILE|FOLDER")
      ->group("Output");
  command->add_option("--format", arguments->format, "jsonl or csv. Default: jsonl.")
      ->type_name("WORD")
      ->group("Output")
      ->check(CLI::IsMember({"jsonl", "csv"}).description(""));
  addSettingOptions(*command, context);
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return exportPolicies(context, *arguments); }; });
}

}  // namespace zrcli
