#include "host/diff/AnswerDiffReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

using Json = nlohmann::ordered_json;  // keeps the members in the order written here

std::string idsText(const Answer& answer) {
  std::string text;
  for (const AnswerResult& result : answer)
    text += ' ' + std::to_string(result.policyId);
  return text.empty() ? " none" : text;
}

std::string changeOf(const AnswerResult& before, const AnswerResult& after) {
  std::string text;
  if (before.priority != after.priority) {
    text += ": priority " + std::to_string(before.priority) + " -> " + std::to_string(after.priority);
  }
  if (before.rule.action != after.rule.action) {
    text += std::string(text.empty() ? ": " : ", ") + "action '" + shortened(before.rule.action) + "' -> '" +
            shortened(after.rule.action) + "'";
  }
  return text.empty() ? text : "  policy " + std::to_string(before.policyId) + text + '\n';
}

std::string textOf(const AnswerDifference& difference) {
  const auto& [asked, before, after] = difference;
  std::string text = "line " + std::to_string(asked.line) + ": " + terminalText(asked.text) +
                     "\n  before:" + idsText(before) + "\n  after: " + idsText(after) + '\n';
  for (const AnswerResult& old : before) {
    const auto now = std::find_if(after.begin(), after.end(),
                                  [&old](const AnswerResult& each) { return each.policyId == old.policyId; });
    if (now != after.end()) text += changeOf(old, *now);
  }
  return text;
}

Json idsOf(const Answer& answer) {
  Json ids = Json::array();
  for (const AnswerResult& result : answer)
    ids.push_back(result.policyId);
  return ids;
}

std::string jsonOf(const AnswerDifference& difference) {
  const Json json = {{"line", difference.asked.line},
                     {"question", difference.asked.text},
                     {"before", idsOf(difference.before)},
                     {"after", idsOf(difference.after)}};
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

AnswerDiffReport::AnswerDiffReport(DiffFormat format) : m_format(std::move(format)) {
  if (m_format.isJson) m_format.write(m_format.onlySummary ? "{" : "{\"questions\":[");
}

void AnswerDiffReport::add(const AnswerDifference& difference) {
  if (m_format.onlySummary) return;
  m_format.write(m_format.isJson ? (m_isFirst ? "" : ",") + jsonOf(difference) : textOf(difference));
  m_isFirst = false;
}

void AnswerDiffReport::finish(std::uint64_t asked, std::uint64_t different) {
  if (m_format.isJson) {
    m_format.write(std::string(m_format.onlySummary ? "" : "],") + "\"asked\":" + std::to_string(asked) +
                   ",\"different\":" + std::to_string(different) + "}\n");
  } else {
    m_format.write(std::to_string(different) + " of " + std::to_string(asked) + " answers differ\n");
  }
}

}  // namespace zrhost
