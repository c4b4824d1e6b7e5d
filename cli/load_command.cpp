#include "cli/load_command.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <unistd.h>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/progress_bar.h"
#include "cli/standard_streams.h"
#include "host/ask/Answer.h"
#include "host/format/TextTable.h"

namespace zrcli {

namespace {

constexpr char kLoadDescription[] =
    "Load the policy database and report.\n"
    "Loads the policies, rules, links and members of groups as a server would, and says how many of each there are, "
    "how many rows were "
    "left out, how long it took and how much memory the loaded process has. Each row that is left out is reported on "
    "standard error with its table, its key and the reason. On a terminal a progress bar shows that rows are coming.\n";

constexpr char kLoadFooter[] =
    "EXAMPLES\n"
    "    zrpolicy load --database sample.db\n"
    "        What a policy database holds, and which of its rows are unusable.\n"
    "    zrpolicy load --database sample.db --strict\n"
    "        Whether all of them are usable, by the exit status.\n";

std::string decimal(double value) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.3f", value);
  return text.data();
}

// The pages of the process that are in memory now, in MiB.
std::string residentMemory() {
  constexpr double kMebibyte = 1024.0 * 1024.0;
  unsigned long long resident = 0;
  std::FILE* file = std::fopen("/proc/self/statm", "re");
  const bool known = file != nullptr && std::fscanf(file, "%*u %llu", &resident) == 1;
  if (file != nullptr) std::fclose(file);
  const double bytes = static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE));
  return known ? decimal(bytes / kMebibyte) + " MiB" : "unknown";
}

std::string reportText(const zrhost::LoadReport& report, double seconds) {
  zrhost::TextTable table({{""}, {""}});
  const auto add = [&table](const std::string& name, std::uint64_t count) { table.add({name, std::to_string(count)}); };
  table.add({"revision", std::to_string(report.revision.revision)});
  add("policies", report.policies);
  add("rules", report.rules);
  add("links", report.links());
  for (std::size_t type = ZrPolicyCache::USER; type < report.linksByType.size(); ++type) {
    add(std::string("  ") + zrhost::entityTypeName(static_cast<ZrPolicyCache::EntityType>(type)),
        report.linksByType[type]);
  }
  add("members", report.members);
  add("refused rows", report.refused);
  table.add({"seconds", decimal(seconds)});
  table.add({"resident memory", residentMemory()});
  return table.text();
}

int load(const CommandContext& context) {
  ProgressBar bar;
  zrhost::LoadOptions options;
  options.onRefused = [&bar](const zrhost::RefusedRow& row) {
    bar.clear();
    printError("left out: " + row.text());
  };
  options.onProgress = [&bar](std::uint64_t rows) { bar.show(rows); };
  const auto start = std::chrono::steady_clock::now();
  const auto snapshot = loadPolicies(context, options);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  bar.clear();
  StandardOutput output;
  output.write(reportText(snapshot->report(), elapsed.count()));
  output.close();
  return 0;
}

}  // namespace

void addLoadCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("load", kLoadDescription);
  command->footer(kLoadFooter);
  addSettingOptions(*command, context);
  addStrictOption(*command, context);
  command->callback([&context] { context.run = [&context] { return load(context); }; });
}

}  // namespace zrcli
