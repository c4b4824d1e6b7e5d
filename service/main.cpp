#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>

#include "cli/exit_status.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "service/Service.h"

namespace {

constexpr char kDescription[] =
    "Answer a mail server's questions by the policies that apply.\n"
    "Serves the policy delegation protocol and socketmap lookups of Postfix, from policies that are kept current by "
    "themselves. Stays in the foreground, and logs to standard error; see zrpolicyd(8).\n";

int fail(const char* text, int status) {
  std::fprintf(stderr, "zrpolicyd: %s\n", text);
  return status;
}

zrhost::ErrorKind kindOf(zrlive::LiveError::Kind kind) {
  switch (kind) {
    case zrlive::LiveError::Kind::kUsage:
      return zrhost::ErrorKind::kUsage;
    case zrlive::LiveError::Kind::kUnreachable:
      return zrhost::ErrorKind::kUnreachable;
    case zrlive::LiveError::Kind::kNotPolicyDatabase:
      return zrhost::ErrorKind::kNotPolicyDatabase;
    case zrlive::LiveError::Kind::kInputOutput:
      return zrhost::ErrorKind::kInputOutput;
    case zrlive::LiveError::Kind::kInternal:
      break;
  }
  return zrhost::ErrorKind::kInternal;
}

int run(int argc, char** argv) {
  CLI::App program(kDescription);
  program.name("zrpolicyd");
  std::string configFile;
  bool checkOnly = false;
  program.set_help_flag("-h,--help", "Print this help and leave.");
  program.set_version_flag("--version", "zrpolicyd " ZR_VERSION, "Print the version and leave.");
  program.add_option("--config", configFile, "The settings; default: as for zrpolicy.")->type_name("FILE");
  program.add_flag("--check", checkOnly, "Examine settings and database, and leave.");
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = program.exit(error);
    return status == 0 ? 0 : zrcli::exitStatus(zrhost::ErrorKind::kUsage);
  }
  return checkOnly ? zrservice::checkService(configFile) : zrservice::runService(configFile);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const zrhost::HostError& error) {
    return fail(error.what(), zrcli::exitStatus(error.kind()));
  } catch (const zrlive::LiveError& error) {
    return fail(error.what(), zrcli::exitStatus(kindOf(error.kind())));
  } catch (const std::exception& error) {
    return fail(error.what(), zrcli::exitStatus(zrhost::ErrorKind::kInternal));
  } catch (const char* text) {  // as the library throws them
    return fail(text, zrcli::exitStatus(zrhost::ErrorKind::kInternal));
  }
}
