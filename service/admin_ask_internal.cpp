#include "service/admin_ask_internal.h"

#include <array>
#include <nlohmann/json.hpp>
#include <set>

#include "host/ask/Answer.h"
#include "host/base/HostError.h"
#include "host/explain/Explainer.h"
#include "host/explain/ExplanationJson.h"
#include "host/format/AnswerJson.h"
#include "live/LiveError.h"
#include "service/Verdict.h"
#include "service/json_text_internal.h"

namespace zrservice {
namespace {

using nlohmann::ordered_json;
using zrhost::ErrorKind;
using zrhost::HostError;
using Kind = zrlive::Question::Kind;

struct Member {
  const char* name;
  Kind kind;
};
// In the order of zrhost::kQuestionWords, which is that of the questions.
constexpr std::array kMembers = {Member{"user", Kind::kUser}, Member{"group", Kind::kGroup},
                                 Member{"host", Kind::kHost}, Member{"address", Kind::kAddress},
                                 Member{"other", Kind::kOther}};

// The same question for the service's answer and for the explanation.
struct Asked {
  zrlive::Question live;
  zrhost::Question host;
};

[[noreturn]] void refuse(const std::string& why) {
  throw HostError(ErrorKind::kUsage, why);
}

bool switchOf(const ordered_json& json, const char* name) {
  const auto found = json.find(name);
  if (found == json.end()) return false;
  if (!found->is_boolean()) refuse(std::string("'") + name + "' is neither true nor false");
  return found->get<bool>();
}

// Of a member that stands twice, JSON would take the second without a word.
ordered_json parseObject(std::string_view body) {
  std::set<std::string> names;
  std::string twice;
  const auto note = [&](int depth, ordered_json::parse_event_t event, const ordered_json& value) {
    const bool isMember = event == ordered_json::parse_event_t::key && depth == 1;
    if (isMember && !names.insert(value.get<std::string>()).second) twice = value.get<std::string>();
    return true;
  };
  ordered_json json = ordered_json::parse(body, note, false);
  if (!json.is_object()) refuse("no JSON object");
  if (!twice.empty()) refuse("'" + twice + "' stands twice");
  return json;
}

void requireMembers(const ordered_json& json) {
  for (const auto& [name, value] : json.items()) {
    bool isKnown = name == "members" || name == "default" || name == "all" || name == "questions";
    for (const Member& member : kMembers)
      isKnown |= name == member.name;
    if (!isKnown) refuse("unknown member '" + name + "'");
  }
}

void add(const zrhost::QuestionWord& word, Kind kind, const std::string& key, Asked& asked) {
  asked.host.push_back(zrhost::makeQuestionPart(word, key));
  asked.live.add(kind, key);
}

void addKeys(const ordered_json& keys, std::size_t place, Asked& asked) {
  const std::string name = kMembers[place].name;
  if (!keys.is_array()) refuse("'" + name + "' is no list");
  for (const ordered_json& key : keys) {
    if (!key.is_string()) refuse("'" + name + "' holds something other than a text");
    const auto& text = key.get_ref<const std::string&>();
    add(zrhost::kQuestionWords[place], kMembers[place].kind, text, asked);
  }
}

void addPart(const std::string& type, const std::string& key, Asked& asked) {
  if (type == "default" || type == "all") {
    asked.host.push_back(zrhost::parseQuestion(type).front());
    asked.live.add(type == "all" ? Kind::kAll : Kind::kDefault, {});
    return;
  }
  for (std::size_t place = 0; place < kMembers.size(); ++place) {
    const zrhost::QuestionWord& word = zrhost::kQuestionWords[place];
    if (type == word.word || type == kMembers[place].name) return add(word, kMembers[place].kind, key, asked);
  }
  refuse("unknown type '" + type + "'");
}

// The same parts in an order of their own, as the decision log has them.
void addQuestions(const ordered_json& json, Asked& asked) {
  const auto found = json.find("questions");
  if (found == json.end()) return;
  if (!found->is_array()) refuse("'questions' is no list");
  for (const ordered_json& each : *found) {
    const bool isPart = each.is_object() && each.contains("type") && each["type"].is_string() &&
                        (!each.contains("key") || each["key"].is_string()) && each.size() == 1 + each.count("key");
    if (!isPart) refuse("'questions' holds something other than {\"type\": TEXT, \"key\": TEXT}");
    addPart(each["type"].get<std::string>(), each.value("key", std::string()), asked);
  }
}

Asked parseAsked(std::string_view body) {
  const ordered_json json = parseObject(body);
  requireMembers(json);
  Asked asked;
  addQuestions(json, asked);
  for (std::size_t place = 0; place < kMembers.size(); ++place) {
    const auto found = json.find(kMembers[place].name);
    if (found != json.end()) addKeys(*found, place, asked);
  }
  if (switchOf(json, "default")) {
    asked.host.push_back({zrhost::QuestionPart::Kind::kDefault, {}, {}});
    asked.live.addDefault();
  }
  if (switchOf(json, "all")) addPart("all", "", asked);
  if (asked.live.empty()) refuse("nothing is asked");
  if (switchOf(json, "members")) {
    asked.host = zrhost::withGroups(std::move(asked.host));
    asked.live.setMembers(true);
  }
  return asked;
}

AdminReply answer(const Desk& desk, const Asked& asked) {
  const zrlive::LiveState state = desk.policies().state();
  const auto snapshot = desk.policies().lease();
  const auto rules = desk.rules();
  ordered_json json;
  json["state"] = zrlive::nameOf(state);
  if (!snapshot) {
    json["action"] = verdictWithout(state, rules->service).action();
    json["error"] = "the service has no policies yet";
    return {503, jsonText(json) + '\n'};
  }
  zrlive::Answer found;
  snapshot->ask(asked.live, found);
  const bool isReady = state == zrlive::LiveState::kReady;
  json["source"] = zrlive::nameOf(snapshot->source());
  json["action"] = (isReady ? verdictFor(found, rules->service) : verdictWithout(state, rules->service)).action();
  std::string text = jsonText(json);
  text.back() = ',';
  const zrhost::Answer answer = zrhost::ask(snapshot->inner(), asked.host);
  text += zrhost::answerJson(answer, snapshot->generation(), snapshot->revision()).substr(1);
  text.back() = ',';
  text += "\"explain\":";
  zrhost::writeExplanationJson(zrhost::Explainer(snapshot->inner()).explain(asked.host),
                               [&text](std::string_view piece) { text += piece; });
  return {200, text + "}\n"};
}

}  // namespace

std::string errorJson(const std::string& text) {
  return jsonText({{"error", text}}) + '\n';
}

AdminReply answerAsked(const Desk& desk, std::string_view body) {
  try {
    return answer(desk, parseAsked(body));
  } catch (const HostError& error) {
    return {error.kind() == ErrorKind::kUsage ? 400 : 500, errorJson(error.what())};
  } catch (const zrlive::LiveError& error) {
    return {400, errorJson(error.what())};
  }
}

}  // namespace zrservice
