#include "cli/reload_command.h"

#include <memory>
#include <nlohmann/json.hpp>

#include "cli/admin_client.h"
#include "cli/standard_streams.h"
#include "host/base/HostError.h"

namespace zrcli {

namespace {

constexpr char kReloadDescription[] =
    "Have the running service load the policies anew.\n"
    "It does so by itself when they change. What is held back, since it has less than half of the links or policies "
    "or lost the default policy, takes effect with --accept. Waits for the outcome up to eight seconds; a load that "
    "takes longer goes on. Status 0 when policies were loaded or the load goes on, 1 when they are held back, 69 when "
    "the load failed or no service answers.\n";

constexpr char kReloadFooter[] =
    "EXAMPLES\n"
    "    zrpolicy reload --accept\n"
    "        Yes, most of the links are to go.\n";

struct ReloadArguments {
  std::string address;
  bool accept = false;
};

int reload(const CommandContext& context, const ReloadArguments& arguments) {
  const AdminReply reply =
      AdminClient(context, arguments.address).post(arguments.accept ? "/reload?accept=true" : "/reload", "");
  switch (reply.status) {
    case 200: {
      const auto document = nlohmann::json::parse(reply.body, nullptr, false);
      const auto revision = document.is_object() ? document.value("revision", std::int64_t{0}) : 0;
      return printAll("revision " + std::to_string(revision) + " is loaded\n");
    }
    case 202:
      return printAll("the load goes on; see zrpolicy status\n");
    case 409:
      printError("the new policies are held back: " + errorOf(reply) + "; have them take effect with reload --accept");
      return 1;
    default:
      throw zrhost::HostError(zrhost::ErrorKind::kUnreachable, errorOf(reply));
  }
}

}  // namespace

void addReloadCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("reload", kReloadDescription);
  command->footer(kReloadFooter);
  const auto arguments = std::make_shared<ReloadArguments>();
  command->add_flag("--accept", arguments->accept, "Whatever the policies are, they take effect.")->group("Service");
  addAdminOptions(*command, context, arguments->address);
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return reload(context, *arguments); }; });
}

}  // namespace zrcli
