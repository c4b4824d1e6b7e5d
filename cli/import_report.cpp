#include "cli/import_report.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cli/progress_bar.h"
#include "cli/standard_streams.h"
#include "host/format/TextTable.h"

namespace zrcli {

namespace {

std::vector<std::pair<const char*, std::uint64_t>> numbersOf(const zrhost::ImportSummary& summary) {
  const zrhost::TableChanges& changes = summary.changes;
  return {{"read", summary.read},        {"added", changes.added},         {"changed", changes.changed},
          {"removed", changes.removed},  {"unchanged", changes.unchanged}, {"mended", summary.mended},
          {"rejected", summary.rejected}};
}

std::string textOf(const zrhost::ImportSummary& summary) {
  zrhost::TextTable table({{""}, {"", true}});
  for (const auto& [name, number] : numbersOf(summary))
    table.add({name, std::to_string(number)});
  std::string text = table.text();
  if (!summary.mendedExamples.empty()) text += "mended, for example\n";
  for (const std::string& example : summary.mendedExamples)
    text += "  " + example + '\n';
  return text;
}

std::string jsonOf(const zrhost::ImportSummary& summary) {
  std::string text;
  for (const auto& [name, number] : numbersOf(summary))
    text += (text.empty() ? "{\"" : ",\"") + std::string(name) + "\":" + std::to_string(number);
  return text + "}\n";
}

}  // namespace

void addImportOptions(CLI::App& command, zrhost::ImportOptions& options, bool& json) {
  command.add_flag("--dry-run", options.dryRun, "Say what would be done, and write nothing.")->group("Import");
  command
      .add_flag("--allow-drop", options.allowDrop,
                "Allow what takes away more than a fifth of the links, or the last default policy.")
      ->group("Import");
  command.add_flag("--json", json, "One JSON document in place of the summary.")->group("Import");
}

int importAndReport(zrhost::ImportSource& source, const zrhost::DatabaseOptions& target, zrhost::ImportOptions options,
                    bool json) {
  ProgressBar bar;
  options.onRejected = [&bar](const std::string& text) {
    bar.clear();
    printError(text);
  };
  options.onProgress = [&bar](const zrhost::ImportProgress& progress) {
    bar.show(progress.rows, progress.bytes, progress.bytesInAll);
  };
  const zrhost::ImportSummary summary = zrhost::importRows(source, target, options);
  bar.clear();
  return printAll(json ? jsonOf(summary) : textOf(summary));
}

}  // namespace zrcli
