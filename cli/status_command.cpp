#include "cli/status_command.h"

#include <memory>
#include <nlohmann/json.hpp>

#include "cli/admin_client.h"
#include "cli/standard_streams.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrcli {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kStatusDescription[] =
    "Tell how the running service stands.\n"
    "Asks zrpolicyd by its administration socket: whether it answers from current policies, which ones they are, and "
    "what it was asked. Status 0 when it is ready, 1 when its policies are too old or it has none, 69 when no service "
    "answers.\n";

constexpr char kStatusFooter[] =
    "EXAMPLES\n"
    "    zrpolicy status\n"
    "        A line for each value.\n"
    "    zrpolicy status --json\n"
    "        The document that GET /status answers, see zrpolicyd(8).\n";

struct StatusArguments {
  std::string address;
  bool json = false;
};

void addLines(const Json& value, const std::string& name, std::string& text) {
  if (value.is_object()) {
    for (const auto& [member, each] : value.items())
      addLines(each, name.empty() ? member : name + '.' + member, text);
    return;
  }
  const std::string shown = value.is_null()     ? "-"
                            : value.is_string() ? value.get<std::string>()
                                                : value.dump(-1, ' ', false, Json::error_handler_t::replace);
  constexpr std::size_t kWidth = 24;
  const std::string title = zrhost::terminalText(name);
  text +=
      title + std::string(title.size() < kWidth ? kWidth - title.size() : 1, ' ') + zrhost::terminalText(shown) + '\n';
}

int status(const CommandContext& context, const StatusArguments& arguments) {
  const AdminReply reply = AdminClient(context, arguments.address).get("/status");
  const Json document = Json::parse(reply.body, nullptr, false);
  if (reply.status != 200 || !document.is_object())
    throw zrhost::HostError(zrhost::ErrorKind::kUnreachable, errorOf(reply));
  std::string text;
  addLines(document, "", text);
  printAll(arguments.json ? reply.body : text);
  return document.value("state", std::string()) == "ready" ? 0 : 1;
}

}  // namespace

void addStatusCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("status", kStatusDescription);
  command->footer(kStatusFooter);
  const auto arguments = std::make_shared<StatusArguments>();
  command->add_flag("--json", arguments->json, "The service's own JSON document.")->group("Output");
  addAdminOptions(*command, context, arguments->address);
  command->callback(
      [&context, arguments] { context.run = [&context, arguments] { return status(context, *arguments); }; });
}

}  // namespace zrcli
