#include "cli/decision_lines.h"

#include <nlohmann/json.hpp>

#include "cli/question_options.h"
#include "cli/standard_streams.h"
#include "host/ask/Answer.h"
#include "host/base/HostError.h"
#include "host/format/AnswerJson.h"
#include "host/format/logged_question.h"

namespace zrcli {

namespace {

using Json = nlohmann::ordered_json;

Json parseDecision(const std::string& line) {
  Json decision = Json::parse(line, nullptr, false);
  const bool isOne = decision.is_object() && decision.contains("questions") && decision["questions"].is_array() &&
                     decision.contains("results") && decision["results"].is_array();
  if (!isOne) throw zrhost::HostError(zrhost::ErrorKind::kUsage, "no line of a decision log");
  return decision;
}

std::string textOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// The groups of the users stand among what was asked; those of now take their place when they are wanted.
zrhost::Question questionOf(const Json& decision, bool withGroups) {
  zrhost::Question question;
  bool hasUser = false;
  for (const Json& each : decision["questions"]) {
    if (!each.is_object()) throw zrhost::HostError(zrhost::ErrorKind::kUsage, "no line of a decision log");
    const std::string type = textOf(each, "type");
    hasUser |= type == "user";
    if (withGroups && hasUser && type == "group") continue;
    question.push_back(zrhost::loggedQuestionPart(type, textOf(each, "key")));
  }
  return withGroups ? zrhost::withGroups(std::move(question)) : question;
}

bool isSame(const Json& logged, const zrhost::AnswerResult& result) {
  return logged.is_object() && logged.contains("policy_id") && logged["policy_id"] == result.policyId &&
         logged.contains("priority") && logged["priority"] == result.priority;
}

// An answer without results was given by the settings, which a lookup does not know.
bool differs(const Json& decision, const zrhost::Answer& answer) {
  const Json& logged = decision["results"];
  if (logged.size() != answer.size()) return true;
  for (std::size_t i = 0; i < answer.size(); ++i)
    if (!isSame(logged[i], answer[i])) return true;
  return !answer.empty() && textOf(decision, "action") != answer.front().rule.action;
}

std::string lineOf(const Json& decision, const zrhost::Snapshot& snapshot, bool withGroups, bool isTop) {
  zrhost::Answer answer = zrhost::ask(snapshot, questionOf(decision, withGroups));
  const bool isOther = differs(decision, answer);
  if (isTop && !answer.empty()) answer.resize(1);
  std::string text = zrhost::answerJson(answer, snapshot.generation(), snapshot.report().revision.revision);
  const Json rest{{"time", textOf(decision, "time")},
                  {"queue_id", textOf(decision, "queue_id")},
                  {"action", textOf(decision, "action")},
                  {"differs", isOther}};
  text.back() = ',';
  return text + rest.dump(-1, ' ', false, Json::error_handler_t::replace).substr(1) + '\n';
}

}  // namespace

int answerDecisions(const zrhost::Snapshot& snapshot, bool withGroups, const LookupOptions& options) {
  return answerEachLine([&](const std::string& line, StandardOutput& output) {
    output.write(lineOf(parseDecision(line), snapshot, withGroups, options.top));
  });
}

}  // namespace zrcli
