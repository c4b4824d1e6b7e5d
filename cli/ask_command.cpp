#include "cli/ask_command.h"

#include <memory>
#include <nlohmann/json.hpp>

#include "cli/admin_client.h"
#include "cli/lookup_answer.h"
#include "cli/question_options.h"
#include "cli/standard_streams.h"
#include "cli/terminal_width.h"
#include "host/base/HostError.h"
#include "host/format/AnswerTable.h"

namespace zrcli {

namespace {

using Json = nlohmann::ordered_json;
using Kind = zrhost::QuestionPart::Kind;

constexpr char kAskDescription[] =
    "Ask the running service which policies apply.\n"
    "Takes the questions of lookup, and answers from the policies that zrpolicyd answers mail servers from: what it "
    "thinks now, not what the database holds. A key is asked as it stands; the settings of [questions] have no part in "
    "it. Status 0 when a policy applies, 1 when none does, 69 when no service answers or it has no policies.\n";

constexpr char kAskFooter[] =
    "JSON\n"
    "    That of zrpolicy lookup, and with --explain behind it a member \"explain\", that\n"
    "    of zrpolicy explain.\n"
    "\n"
    "EXAMPLES\n"
    "    zrpolicy ask --user john@example.org --with-groups --default\n"
    "        What the service answers for a user and the user's groups.\n";

struct AskArguments {
  AskedQuestion asked;
  LookupOptions options;
  std::string address;
  bool isExplained = false;
};

Json partOf(const zrhost::QuestionPart& part) {
  if (part.kind == Kind::kDefault) return {{"type", "default"}};
  if (part.kind == Kind::kAll) return {{"type", "all"}};
  for (const zrhost::QuestionWord& word : zrhost::kQuestionWords)
    if (word.kind == part.kind && (part.kind == Kind::kAddress || word.entityType == part.entityType))
      return {{"type", word.word}, {"key", part.key}};
  throw zrhost::HostError(zrhost::ErrorKind::kInternal, "a question of no kind");
}

std::string documentOf(const zrhost::Question& question, const AskArguments& arguments) {
  Json questions = Json::array();
  for (const zrhost::QuestionPart& part : question)
    if (part.kind != Kind::kGroups) questions.push_back(partOf(part));
  try {
    return Json{{"questions", questions}, {"members", arguments.asked.withGroups}}.dump();
  } catch (const Json::exception&) {
    throw zrhost::HostError(zrhost::ErrorKind::kUsage, "a service cannot be asked for a key that is no UTF-8");
  }
}

// What a service with policies that are too old answers is none of them. Said once, for any number of questions.
void warnOfStale(const Json& told, bool& isWarned) {
  if (isWarned || told.value("state", std::string()) != "stale") return;
  isWarned = true;
  printError("warning: the service's policies are too old, so that it answers mail servers '" +
             told.value("action", std::string()) + "'; see zrpolicy status");
}

// The service answers more than lookup prints.
Json ask(const AdminClient& client, const zrhost::Question& question, const AskArguments& arguments, bool& isWarned) {
  const AdminReply reply = client.post("/ask", documentOf(question, arguments));
  Json told = Json::parse(reply.body, nullptr, false);
  if (reply.status != 200 || !told.is_object() || !told["results"].is_array())
    throw zrhost::HostError(reply.status == 400 ? zrhost::ErrorKind::kUsage : zrhost::ErrorKind::kUnreachable,
                            errorOf(reply));
  warnOfStale(told, isWarned);
  Json results = told["results"];
  if (arguments.options.top && results.size() > 1) results.erase(results.begin() + 1, results.end());
  Json answer{{"generation", told["generation"]}, {"revision", told["revision"]}, {"results", results}};
  if (arguments.isExplained) answer["explain"] = told["explain"];
  return answer;
}

ZrPolicyCache::EntityType typeOf(const std::string& name) {
  for (int type = 0; type <= ZrPolicyCache::OTHER; ++type)
    if (name == zrhost::entityTypeName(static_cast<ZrPolicyCache::EntityType>(type)))
      return static_cast<ZrPolicyCache::EntityType>(type);
  return ZrPolicyCache::DEFAULT;
}

zrhost::Answer answerOf(const Json& results) {
  zrhost::Answer answer;
  for (const Json& each : results) {
    const Json& rule = each.at("rule");
    answer.push_back({each.at("priority"),
                      each.at("policy_id"),
                      each.at("policy_type"),
                      each.at("policy_name"),
                      typeOf(each.at("entity_type")),
                      each.at("entity_name"),
                      {rule.at("id"), rule.at("name"), rule.at("type"), rule.at("ldap_setting"), rule.at("action")}});
  }
  return answer;
}

int run(const CommandContext& context, const AskArguments& arguments) {
  const AdminClient client(context, arguments.address);
  bool isWarned = false;
  if (arguments.asked.fromStandardInput)
    return answerLines(arguments.asked.withGroups, [&](const zrhost::Question& question, StandardOutput& output) {
      output.write(ask(client, question, arguments, isWarned).dump() + '\n');
    });
  const Json answer = ask(client, arguments.asked.question, arguments, isWarned);
  const bool isJson = arguments.options.json || arguments.isExplained;
  printAll(isJson ? answer.dump() + '\n'
                  : zrhost::answerTable(answerOf(answer["results"]), arguments.options.wide ? 0 : terminalWidth()));
  return answer["results"].empty() ? 1 : 0;
}

}  // namespace

void addAskCommand(CLI::App& program, CommandContext& context) {
  CLI::App* command = program.add_subcommand("ask", kAskDescription);
  command->footer(kAskFooter);
  const auto arguments = std::make_shared<AskArguments>();
  addQuestionOptions(*command, arguments->asked);
  addAnswerOptions(*command, arguments->options);
  command->add_flag("--explain", arguments->isExplained, "One JSON document that tells every link that was met, too.")
      ->group("Output");
  addAdminOptions(*command, context, arguments->address);
  command->callback([&context, command, arguments] {
    context.run = [&context, command, arguments] {
      readQuestion(*command, arguments->asked);
      return run(context, *arguments);
    };
  });
}

}  // namespace zrcli
