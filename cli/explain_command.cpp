#include "cli/explain_command.h"

#include <memory>
#include <optional>
#include <string_view>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/question_options.h"
#include "cli/standard_streams.h"
#include "cli/terminal_width.h"
#include "host/explain/Explainer.h"
#include "host/explain/ExplanationJson.h"
#include "host/explain/ExplanationText.h"

namespace zrcli {

namespace {

constexpr char kExplainDescription[] =
    "Tell why an answer is what it is.\n"
    "Takes the questions of lookup and shows each key as it is searched, every link that was met, in the order in "
    "which it was met, and what became of it: it counts; its policy has no rule of kind 247; its policy is in the "
    "answer already, by an earlier link. Then what the question could have asked and did not, and the answer.\n"
    "\n"
    "With --policy, also why that policy is in the answer or not, and which of its links come near to what was asked, "
    "with the difference: a capital, a blank, an HTML entity, a group or the default policy that was not asked, "
    "another type, a neighbouring range, another character.\n"
    "\n"
    "Status 0 when a policy applies, or with --policy when that one does, 1 when not. With --stdin, each line of "
    "standard input is a question, as lookup takes it, and is explained by one JSON document on a line of its own.\n";

constexpr char kExplainFooter[] =
    "JSON\n"
    "    {\"questions\": [{\"type\": TEXT, \"key\": TEXT, \"searched\": TEXT, \"links\":\n"
    "     [{\"link_id\": N, \"policy_id\": N, \"priority\": N, \"entity_name\": TEXT,\n"
    "     \"outcome\": \"counts\"|\"no_selected_rule\"|\"already_in_answer\"}, ...]}, ...],\n"
    "     \"results\": [as lookup has them], \"policy\": {\"policy_id\": N, \"in_answer\":\n"
    "     BOOL, \"reason\": TEXT, \"near\": [{\"link_id\": N, \"entity_type\": TEXT,\n"
    "     \"entity_name\": TEXT, \"priority\": N, \"difference\": TEXT}, ...]}}\n"
    "    \"policy\" is there with --policy; the default policy's \"link_id\" is null.\n"
    "\n"
    "EXAMPLES\n"
    "    zrpolicy explain --database sample.db --user john@example.org --default\n"
    "        Every link of the user, and what became of it.\n"
    "    zrpolicy explain --database sample.db --ip 10.0.1.7 --policy 40\n"
    "        Why policy 40 does not apply to the address.\n";

struct ExplainArguments {
  AskedQuestion asked;
  std::optional<std::int32_t> policyId;
  bool json = false;
  bool wide = false;
};

int statusOf(const zrhost::Explanation& explanation) {
  const bool applies = explanation.policy ? explanation.policy->inAnswer : !explanation.results.empty();
  return applies ? 0 : 1;
}

int explain(const CommandContext& context, const ExplainArguments& arguments) {
  zrhost::LoadOptions options;
  options.keepLinkIds = true;
  const auto snapshot = loadToAsk(context, arguments.asked.withGroups, options);
  const zrhost::Explainer explainer(*snapshot, arguments.policyId);
  const auto writeJson = [&explainer](const zrhost::Explanation& explanation, StandardOutput& output) {
    zrhost::writeExplanationJson(explanation, [&output](std::string_view text) { output.write(text); });
    output.write("\n");
  };
  if (arguments.asked.fromStandardInput) {
    return answerLines(arguments.asked.withGroups, [&](const zrhost::Question& question, StandardOutput& output) {
      writeJson(explainer.explain(question), output);
    });
  }
  const zrhost::Explanation explanation = explainer.explain(arguments.asked.question);
  StandardOutput output;
  if (arguments.json) {
    writeJson(explanation, output);
  } else {
    zrhost::writeExplanationText(explanation, arguments.wide ? 0 : terminalWidth(),
                                 [&output](std::string_view text) { output.write(text); });
  }
  output.close();
  return statusOf(explanation);
}

}  // namespace

void addExplainCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("explain", kExplainDescription);
  command->footer(kExplainFooter);
  const auto arguments = std::make_shared<ExplainArguments>();
  addQuestionOptions(*command, arguments->asked);
  command->add_option("--policy", arguments->policyId, "A policy: why it applies or not, and what comes near.")
      ->type_name("ID")
      ->group("Questions");
  command->add_flag("--json", arguments->json, "One JSON document instead of tables.")->group("Output");
  command->add_flag("--wide", arguments->wide, "Whole tables, also where they are wider than the terminal.")
      ->group("Output");
  addSettingOptions(*command, context);
  addStrictOption(*command, context);
  command->callback([&context, command, arguments] {
    context.run = [&context, command, arguments] {
      readQuestion(*command, arguments->asked);
      return explain(context, *arguments);
    };
  });
}

}  // namespace zrcli
