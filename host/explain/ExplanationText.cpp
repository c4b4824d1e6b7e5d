#include "host/explain/ExplanationText.h"

#include <algorithm>
#include <string>

#include "host/base/terminal_text.h"
#include "host/explain/entity_text_internal.h"
#include "host/format/AnswerTable.h"
#include "host/format/TextTable.h"
#include "host/load/SqlLink.h"

namespace zrhost {

namespace {

using Write = std::function<void(std::string_view)>;

constexpr bool kIsNumber = true;
constexpr bool kMayBeCut = true;
constexpr std::size_t kMostRows = 1000;  // of one table: its rows are held until all are known

std::string idText(const ZrEPLink& link) {
  const auto id = linkIdOf(link);
  return id ? std::to_string(*id) : "-";
}

std::string outcomeText(const MetLink& met) {
  switch (met.outcome) {
    case LinkOutcome::kCounts:
      return "counts";
    case LinkOutcome::kNoSelectedRule:
      return "its policy has no rule of kind 247 (it " + kindsOf(*met.link->m_pPolicy) + ")";
    case LinkOutcome::kAlreadyInAnswer:
      return met.by == met.link ? "counts already" : "its policy is in the answer by " + linkName(*met.by);
  }
  return {};
}

// "USER 'John', searched as 'john'", "IP '10.0.0.7', searched as 167772167", "the default policy", "every USER"
std::string titleOf(const ExplainedSearch& search) {
  const std::string type = entityTypeName(search.type);
  if (search.type == ZrPolicyCache::DEFAULT) return "the default policy";
  if (search.key.empty()) return "every " + type;
  const std::string title = type + ' ' + inQuotes(search.key);
  if (search.type != ZrPolicyCache::IP && search.type != ZrPolicyCache::IP_RANGE) {
    return title + (search.searched == search.key ? "" : ", searched as " + inQuotes(search.searched));
  }
  const std::string address = dotted(addressValue(search.key.c_str()));
  return title + ", searched as " + (address == search.key ? "" : address + ", ") + search.searched;
}

void writeLinks(const ExplainedSearch& search, std::size_t begin, std::size_t width, const Write& write) {
  TextTable table({{"LINK ID", kIsNumber},
                   {"PRIORITY", kIsNumber},
                   {"POLICY ID", kIsNumber},
                   {"NAME", !kIsNumber, kMayBeCut},
                   {"ENTITY", !kIsNumber, kMayBeCut},
                   {"OUTCOME"}});
  for (std::size_t i = begin; i < std::min(search.links.size(), begin + kMostRows); ++i) {
    const ZrEPLink& link = *search.links[i].link;
    table.add({idText(link), std::to_string(link.m_priority), std::to_string(link.m_policyId),
               link.m_pPolicy->m_policyName, link.m_entityName, outcomeText(search.links[i])});
  }
  write(table.text(width));
}

void writeSearch(const ExplainedSearch& search, std::size_t width, const Write& write) {
  write(terminalText(titleOf(search)) + (search.links.empty() ? ": no link\n\n" : ":\n"));
  for (std::size_t begin = 0; begin < search.links.size(); begin += kMostRows)
    writeLinks(search, begin, width, write);
  if (!search.links.empty()) write("\n");
}

void writePolicy(const PolicyExplanation& policy, std::size_t width, const Write& write) {
  write("policy " + std::to_string(policy.policyId) + (policy.inAnswer ? " is" : " is not") +
        " in the answer: " + terminalText(policy.reason) + '\n');
  if (!policy.near.empty()) {
    TextTable table({{"LINK ID", kIsNumber},
                     {"PRIORITY", kIsNumber},
                     {"ENTITY TYPE"},
                     {"ENTITY", !kIsNumber, kMayBeCut},
                     {"COMES NEAR, BUT"}});
    for (const auto& [link, difference] : policy.near) {
      table.add({idText(*link), std::to_string(link->m_priority), entityTypeName(link->m_entityType),
                 link->m_entityName, difference});
    }
    write(table.text(width));
  }
  write("\n");
}

}  // namespace

void writeExplanationText(const Explanation& explanation, std::size_t width, const Write& write) {
  for (const ExplainedSearch& search : explanation.searches)
    writeSearch(search, width, write);
  for (const std::string& text : explanation.notAsked)
    write("not asked: " + terminalText(text) + '\n');
  if (!explanation.notAsked.empty()) write("\n");
  if (explanation.policy) writePolicy(*explanation.policy, width, write);
  write("the answer:\n" + answerTable(explanation.results, width));
}

}  // namespace zrhost
