#include "cli/lookup_command.h"

#include <algorithm>
#include <map>
#include <memory>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/lookup_answer.h"
#include "cli/standard_streams.h"

namespace zrcli {

namespace {

constexpr char kDescription[] =
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
    "line gives nothing, and a line that is no question gives {\"error\": TEXT, \"line\": NUMBER}.\n";

constexpr char kFooter[] =
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
    "        What applies to a user and to the groups that the user is in.\n";

struct Lookup {
  zrhost::Question question;
  bool fromStandardInput = false;
  LookupOptions options;
};

int lookup(const CommandContext& context, const Lookup& lookup) {
  if (lookup.question.empty() && !lookup.fromStandardInput) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            "lookup: nothing is asked; give --user, --group, --host, --ip, --other, --default, --all "
                            "or --stdin");
  }
  if (!lookup.question.empty() && lookup.fromStandardInput) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            "lookup: --stdin takes its questions from standard input; give no other question with it");
  }
  const auto snapshot = loadToAsk(context, lookup.options.withGroups);
  return lookup.fromStandardInput ? answerBatch(*snapshot, lookup.options)
                                  : answerOne(*snapshot, lookup.question, lookup.options);
}

// The parts of the question in the order in which they stand on the command line, across the options.
zrhost::Question questionOf(const CLI::App& command) {
  zrhost::Question question;
  std::map<const CLI::Option*, std::size_t> used;
  for (const CLI::Option* option : command.parse_order()) {
    const std::string name = option->get_single_name();
    const auto* word = std::find_if(std::begin(zrhost::kQuestionWords), std::end(zrhost::kQuestionWords),
                                    [&name](const zrhost::QuestionWord& each) { return each.word == name; });
    if (word != std::end(zrhost::kQuestionWords)) {
      question.push_back(zrhost::makeQuestionPart(*word, option->results().at(used[option]++)));
    } else if (name == "default" || name == "all") {
      question.push_back(zrhost::parseQuestion(name).front());
    }
  }
  return question;
}

void addQuestionOptions(CLI::App& command) {
  constexpr char kGroup[] = "Questions";
  constexpr const char* kHelp[] = {"The policies of this user.", "The policies of this group.",
                                   "The policies of this host name.",
                                   "The policies of this IPv4 address, then those of the address ranges that hold it.",
                                   "The policies of this other key, as POP3_Mail_Sender."};
  static_assert(std::size(kHelp) == std::size(zrhost::kQuestionWords));
  for (std::size_t i = 0; i < std::size(kHelp); ++i) {
    const zrhost::QuestionWord& word = zrhost::kQuestionWords[i];
    command.add_option(std::string("--") + word.word)
        ->description(std::string(kHelp[i]) + " May be given any number of times.")
        ->type_name(word.keyName)
        ->expected(1)
        ->take_all()
        ->group(kGroup);
  }
  command.add_flag("--default")->description("The default policy, behind all others.")->group(kGroup);
  command.add_flag("--all")->description("The policies of all users, groups and other keys.")->group(kGroup);
}

void addFlags(CLI::App& command, Lookup& lookup) {
  constexpr char kQuestions[] = "Questions";
  constexpr char kOutput[] = "Output";
  const auto add = [&command](const char* name, bool& flag, const char* help, const char* group) {
    command.add_flag(name, flag, help)->group(group);
  };
  add("--with-groups", lookup.options.withGroups,
      "Also the policies of the groups that the users are in, behind those of the last user.", kQuestions);
  add("--stdin", lookup.fromStandardInput, "Answer the questions of standard input, one for each line.", kQuestions);
  add("--top", lookup.options.top, "Only the first result.", kOutput);
  add("--json", lookup.options.json, "One JSON document instead of a table.", kOutput);
  add("--wide", lookup.options.wide, "The whole table, also where it is wider than the terminal.", kOutput);
}

}  // namespace

void addLookupCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("lookup", kDescription);
  command->footer(kFooter);
  const auto asked = std::make_shared<Lookup>();
  addQuestionOptions(*command);
  addFlags(*command, *asked);
  addSettingOptions(*command, context);
  addStrictOption(*command, context);
  command->callback([&context, command, asked] {
    context.run = [&context, command, asked] {
      asked->question = questionOf(*command);
      return lookup(context, *asked);
    };
  });
}

}  // namespace zrcli
