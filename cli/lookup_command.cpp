#include "cli/lookup_command.h"

#include <memory>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/decision_lines.h"
#include "cli/lookup_answer.h"
#include "cli/question_options.h"

namespace zrcli {

namespace {

constexpr char kLookupDescription[] =
    "Ask which policies apply.\n"
    "Loads the policy database and prints the policies that apply to what is asked for, best first: ascending "
    "priority. A policy is listed once, by the first of its links that was found, so the order of the options counts. "
    "A policy without a rule of kind 247 never applies.\n"
    "\n"
    "Names of users, groups and other keys are looked up in lower case (POP3_Mail_Sender excepted), host names in "
    "upper case; only the letters A to Z change. The table shows control characters as escapes; on a terminal it is "
    "fitted to the width (that of "
    "COLUMNS, when it is set), long texts ending in \xe2\x80\xa6. For programs there is --json.\n"
    "\n"
    "With --with-groups, the groups of all users of a question are asked directly behind the last user, in ascending "
    "order of their bytes, each once. A user's name is compared in lower case with the members that the policy "
    "database holds, whose names stand for themselves.\n"
    "\n"
    "With --stdin, each line of standard input is a question: \"user NAME\", \"group NAME\", \"host NAME\", \"ip "
    "ADDRESS\", \"other KEY\", \"default\" or \"all\", or several of these separated by tabs. The key is everything "
    "behind the first blank. Each is answered by one JSON document on a line of its own, in their order; an empty "
    "line gives nothing, and a line that is no question gives {\"error\": TEXT, \"line\": NUMBER}.\n"
    "\n"
    "With --decisions, these lines are those of the decision log of zrpolicyd, whose questions are asked again; behind "
    "the results stand the time, the queue ID and the action that were logged, and whether the answer differs from "
    "them. The groups that were asked are asked again; with --with-groups those that the users are in now, in their "
    "place.\n";

constexpr char kLookupFooter[] =
    "JSON\n"
    "    {\"generation\": G, \"revision\": R, \"results\": [{\"priority\": N,\n"
    "     \"policy_id\": N, \"policy_type\": N, \"policy_name\": TEXT,\n"
    "     \"entity_type\": TEXT, \"entity_name\": TEXT, \"rule\": {\"id\": N,\n"
    "     \"name\": TEXT, \"type\": N, \"ldap_setting\": BOOL, \"action\": TEXT}}, ...]}\n"
    "    Bytes that are no UTF-8 become U+FFFD.\n"
    "\n"
    "EXAMPLES\n"
    "    zrpolicy lookup --database sample.db --user john@example.org --default\n"
    "        What applies to a user, the default policy behind it.\n"
    "    zrpolicy lookup --database sample.db --ip 10.0.0.7 --top\n"
    "        The best policy for an address, or for a range that holds it.\n"
    "    zrpolicy lookup --database sample.db --stdin < questions\n"
    "        Many questions, one load.\n"
    "    zrpolicy lookup --database sample.db --user john@example.org --with-groups\n"
    "        What applies to a user and to the groups that the user is in.\n"
    "    zrpolicy lookup --database sample.db --stdin --decisions < decisions.log\n"
    "        What the service would answer to the same mail from this database.\n";

struct Lookup {
  AskedQuestion asked;
  LookupOptions options;
  bool decisions = false;
};

int lookup(const CommandContext& context, const Lookup& lookup) {
  if (lookup.decisions && !lookup.asked.fromStandardInput)
    throw zrhost::HostError(zrhost::ErrorKind::kUsage, "lookup: --decisions needs --stdin");
  const auto snapshot = loadToAsk(context, lookup.asked.withGroups);
  if (lookup.decisions) return answerDecisions(*snapshot, lookup.asked.withGroups, lookup.options);
  return lookup.asked.fromStandardInput ? answerBatch(*snapshot, lookup.asked.withGroups, lookup.options)
                                        : answerOne(*snapshot, lookup.asked.question, lookup.options);
}

}  // namespace

void addLookupCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("lookup", kLookupDescription);
  command->footer(kLookupFooter);
  const auto asked = std::make_shared<Lookup>();
  addQuestionOptions(*command, asked->asked);
  command
      ->add_flag("--decisions", asked->decisions, "The lines of --stdin are those of a decision log, see zrpolicyd(8).")
      ->group("Questions");
  addAnswerOptions(*command, asked->options);
  addSettingOptions(*command, context);
  addStrictOption(*command, context);
  command->callback([&context, command, asked] {
    context.run = [&context, command, asked] {
      readQuestion(*command, asked->asked);
      return lookup(context, *asked);
    };
  });
}

}  // namespace zrcli
