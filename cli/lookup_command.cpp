#include "cli/lookup_command.h"

#include <algorithm>
#include <map>
#include <memory>

#include "cli/common_options.h"
#include "cli/database_access.h"
#include "cli/lookup_batch.h"
#include "cli/standard_streams.h"
#include "host/ask/Answer.h"
#include "host/format/AnswerJson.h"
#include "host/format/AnswerTable.h"

namespace zrcli {

namespace {

constexpr char kDescription[] =
    "Ask which policies apply.\n"
    "Loads the policy database and prints the policies that apply to what is asked for, best first: ascending "
    "priority. A policy is listed once, by the first of its links that was found, so the order of the options counts. "
    "A policy without a rule of kind 247 never applies.\n"
    "\n"
    "Names of users, groups and other keys are looked up in lower case (POP3_Mail_Sender excepted), host names in "
    "upper case; only the letters A to Z change. The table shows control characters as escapes and the rows are "
    "aligned; for programs there is "
    "--json.\n"
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
    "        Many questions, one load.\n";

struct LookupOptions {
  zrhost::Question question;
  bool json = false;
  bool top = false;
  bool fromStandardInput = false;
};

// Rows that cannot be used do not stop a lookup, but its answer may lack what they say.
void warnOfRefusedRows(const zrhost::LoadReport& report, const std::string& first) {
  if (report.refused == 0) return;
  printError("warning: " + std::to_string(report.refused) + " unusable row(s) of the database were left out, first " +
             first + "; see all with zrpolicy load");
}

LoadedCache loadForLookup(const CommandContext& context) {
  std::string first;
  zrhost::LoadOptions options;
  options.onRefused = [&first](const zrhost::RefusedRow& row) {
    if (first.empty()) first = row.text();
  };
  LoadedCache loaded = loadPolicies(context, options);
  warnOfRefusedRows(loaded.report, first);
  return loaded;
}

int answerOne(const LoadedCache& loaded, const LookupOptions& options) {
  zrhost::Answer answer = zrhost::ask(*loaded.cache, options.question);
  if (options.top && !answer.empty()) answer.resize(1);
  StandardOutput output;
  output.write(options.json
                   ? zrhost::answerJson(answer, loaded.cache->m_generation, loaded.report.revision.revision) + '\n'
                   : zrhost::answerTable(answer));
  output.close();
  return answer.empty() ? 1 : 0;
}

int lookup(const CommandContext& context, const LookupOptions& options) {
  if (options.question.empty() && !options.fromStandardInput) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            "lookup: nothing is asked; give --user, --group, --host, --ip, --other, --default, --all "
                            "or --stdin");
  }
  if (!options.question.empty() && options.fromStandardInput) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage,
                            "lookup: --stdin takes its questions from standard input; give no other question with it");
  }
  const LoadedCache loaded = loadForLookup(context);
  return options.fromStandardInput ? answerBatch(loaded, options.top) : answerOne(loaded, options);
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

void addOutputOptions(CLI::App& command, LookupOptions& options) {
  command.add_flag("--stdin", options.fromStandardInput, "Answer the questions of standard input, one for each line.")
      ->group("Questions");
  command.add_flag("--top", options.top, "Only the first result.")->group("Output");
  command.add_flag("--json", options.json, "One JSON document instead of a table.")->group("Output");
}

}  // namespace

void addLookupCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("lookup", kDescription);
  command->footer(kFooter);
  const auto options = std::make_shared<LookupOptions>();
  addQuestionOptions(*command);
  addOutputOptions(*command, *options);
  addSettingOptions(*command, context);
  addStrictOption(*command, context);
  command->callback([&context, command, options] {
    context.run = [&context, command, options] {
      options->question = questionOf(*command);
      return lookup(context, *options);
    };
  });
}

}  // namespace zrcli
