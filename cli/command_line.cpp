#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "cli/ask_command.h"
#include "cli/check_command.h"
#include "cli/command_context.h"
#include "cli/config_command.h"
#include "cli/copy_command.h"
#include "cli/diff_command.h"
#include "cli/exit_status.h"
#include "cli/explain_command.h"
#include "cli/export_command.h"
#include "cli/help_command.h"
#include "cli/help_format.h"
#include "cli/import_command.h"
#include "cli/init_command.h"
#include "cli/load_command.h"
#include "cli/lookup_command.h"
#include "cli/reload_command.h"
#include "cli/standard_streams.h"
#include "cli/status_command.h"
#include "cli/test_command.h"
#include "host/base/HostError.h"
#include "host/log/LibraryErrors.h"
#include "host/log/LogSink.h"

namespace zrcli {

namespace {

constexpr char kProgramDescription[] =
    "Ask a mail site's policy database which policies apply.\n"
    "A policy database binds users, groups, host names, IPv4 addresses and other keys to policies, by links with "
    "priorities. The command creates such a database, loads it and answers questions from it. The database is an "
    "SQLite file (--database) or any ODBC data source of PostgreSQL (--dsn).\n"
    "\n"
    "Every option of the data source can also stand in a configuration file, see zrpolicy.conf(5). The password of a "
    "data source comes from a file (--password-file) or from the environment, never from the command line.\n";

constexpr char kProgramFooter[] =
    "ENVIRONMENT\n"
    "    ZRPOLICY_CONFIG    the configuration file, when --config is not given\n"
    "    ZRPOLICY_PASSWORD  the password for --dsn, when --password-file is not given\n"
    "\n"
    "EXAMPLES\n"
    "    zrpolicy init --sample --database sample.db\n"
    "    zrpolicy lookup --database sample.db --user john@example.org --default\n"
    "    zrpolicy load --database sample.db\n";

void addCommands(CLI::App& program, CommandContext& context) {
  program.name("zrpolicy");
  program.footer(kProgramFooter);
  program.formatter(std::make_shared<ManualFormatter>());
  program.set_help_flag("-h,--help", "Print this manual and leave. Each command has its own.");
  program.require_subcommand(0, 1);
  addInitCommand(program, context);
  addLookupCommand(program, context);
  addExplainCommand(program, context);
  addLoadCommand(program, context);
  addCheckCommand(program, context);
  addExportCommand(program, context);
  addImportCommand(program, context);
  addCopyCommand(program, context);
  addTestCommand(program, context);
  addDiffCommand(program, context);
  addStatusCommand(program, context);
  addReloadCommand(program, context);
  addAskCommand(program, context);
  addConfigCommand(program, context);
  addHelpCommand(program, context);
  program.set_version_flag("--version", "zrpolicy " ZR_VERSION, "Print the version and leave.");
}

// The arguments as CLI11 takes them, last one first. It would take the argument behind "--name=" for the value.
// Behind "--" there are no options, so "--name=" is a value there.
std::vector<std::string> reversedArguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  bool optionsEnded = false;
  for (int i = 1; i < argc; ++i) {
    std::string argument = argv[i];
    optionsEnded = optionsEnded || argument == "--";
    const bool valueIsEmpty =
        !optionsEnded && argument.starts_with("--") && argument.size() > 3 && argument.find('=') == argument.size() - 1;
    if (valueIsEmpty) argument.pop_back();
    arguments.push_back(argument);
    if (valueIsEmpty) arguments.emplace_back();
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

int usage(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  printError(text + "; see zrpolicy help");
  return exitStatus(zrhost::ErrorKind::kUsage);
}

// Nothing to do was named: what can be is shown, where it is in nobody's way.
int usageOf(const CLI::App& program) {
  const std::vector<CLI::App*> commands = program.get_subcommands();
  writeError(shortUsage(commands.empty() ? program : *commands.front()));
  return exitStatus(zrhost::ErrorKind::kUsage);
}

int parseAndRun(int argc, char** argv) {
  CommandContext context;
  CLI::App program(kProgramDescription);
  addCommands(program, context);
  try {
    program.parse(reversedArguments(argc, argv));
  } catch (const CLI::CallForHelp&) {
    return printAll(program.help());
  } catch (const CLI::CallForVersion& version) {
    return printAll(std::string(version.what()) + '\n');
  } catch (const CLI::ParseError& error) {
    return usage(error.what());
  }
  return context.run ? context.run() : usageOf(program);
}

// Ends the command as the system would have, so that a shell sees why and says nothing.
int endByBrokenPipe() {
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
  return kReaderGone;  // where the signal is blocked
}

// What the library threw by itself, with what it logged about it.
void printLibraryFailure(const char* text) {
  const std::string logged = zrhost::takeLibraryErrors();
  printError(std::string("internal error: ") + text + (logged.empty() ? "" : " (" + logged + ")") +
             "; try again with --log-level 4 and report it");
}

int reportFailure() {
  try {
    throw;
  } catch (const ReaderGone&) {
    return endByBrokenPipe();
  } catch (const zrhost::HostError& error) {
    printError(error.what());
    return exitStatus(error.kind());
  } catch (const std::bad_alloc&) {
    printError("out of memory; load a smaller database or give the process more");
  } catch (const std::exception& error) {
    printError(std::string("internal error: ") + error.what());
  } catch (const char* text) {  // the library throws char* as well
    printLibraryFailure(text);
  } catch (...) {
    printError("internal error of an unknown kind");
  }
  return exitStatus(zrhost::ErrorKind::kInternal);
}

}  // namespace

int runCommandLine(int argc, char** argv) noexcept {
  try {
    zrhost::setLogLevel(0);
    return parseAndRun(argc, argv);
  } catch (...) {
    return reportFailure();
  }
}

}  // namespace zrcli
