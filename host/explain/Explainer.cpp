#include "host/explain/Explainer.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "host/ask/Search.h"
#include "host/explain/entity_text_internal.h"
#include "host/explain/met_links_internal.h"
#include "host/explain/near_links_internal.h"
#include "policy/ZrPolicyResultSet.h"

namespace zrhost {

namespace {

// Notes each search of a question as it is made: the links that it met, and what the library made of them.
class SearchLog {
 public:
  SearchLog(const ZrPolicyCache& cache, ZrPolicyResultSet& results, std::vector<ExplainedSearch>& searches)
      : m_cache(cache), m_results(results), m_searches(searches) {}

  void note(const Search& search) {
    takeFresh();
    switch (search.kind) {
      case Search::Kind::kKey:
        return add(search, searchedKey(search), linksOfKey(m_cache, search.type, search.key));
      case Search::Kind::kRanges:
        return add(search, searchedKey(search), rangesOf(m_cache, search.key));
      case Search::Kind::kDefault:
        return add(search, "", m_cache.m_defaultLink.m_pPolicy != nullptr ? Links{&m_cache.m_defaultLink} : Links());
      case Search::Kind::kAll:
        for (const auto type : {ZrPolicyCache::USER, ZrPolicyCache::GROUP, ZrPolicyCache::OTHER})
          add({search.kind, type, ""}, "", allOf(m_cache, type));
    }
  }

 private:
  // The links of the results that this search has added.
  void takeFresh() {
    m_fresh.clear();
    for (const ZrPolicyResult* result : m_results.m_setResult) {
      const ZrEPLink* const link = result->m_pEPLink;
      if (m_answered.emplace(link->m_policyId, link).second) m_fresh.insert(link);
    }
  }

  static std::string searchedKey(const Search& search) {
    const bool isAddress = search.type == ZrPolicyCache::IP || search.type == ZrPolicyCache::IP_RANGE;
    return isAddress ? std::to_string(addressValue(search.key)) : Snapshot::searched(search.type, search.key);
  }

  void add(const Search& search, const std::string& searched, const Links& met) {
    ExplainedSearch explained{search.type, search.key, searched, {}};
    for (const ZrEPLink* link : met)
      explained.links.push_back(metLink(link));
    m_searches.push_back(std::move(explained));
  }

  MetLink metLink(const ZrEPLink* link) {
    if (m_fresh.contains(link)) return {link, LinkOutcome::kCounts, nullptr};
    const auto answered = m_answered.find(link->m_policyId);
    if (answered != m_answered.end()) return {link, LinkOutcome::kAlreadyInAnswer, answered->second};
    return {link, LinkOutcome::kNoSelectedRule, nullptr};
  }

  const ZrPolicyCache& m_cache;
  ZrPolicyResultSet& m_results;
  std::vector<ExplainedSearch>& m_searches;
  std::unordered_map<std::int32_t, const ZrEPLink*> m_answered;  // by policy
  std::unordered_set<const ZrEPLink*> m_fresh;
};

bool asks(const Question& question, QuestionPart::Kind kind) {
  return std::any_of(question.begin(), question.end(), [kind](const QuestionPart& part) { return part.kind == kind; });
}

// "the groups of 'john' (engineering, sales): asked with --with-groups"
std::string groupsNotAsked(const Snapshot& snapshot, const std::string& user) {
  constexpr std::size_t kMostShown = 20;
  std::string names;
  std::size_t number = 0;
  for (const GroupMembers::Group group : snapshot.groupsOf(user)) {
    if (++number > kMostShown) continue;
    names += (names.empty() ? "" : ", ") + std::string(snapshot.groupName(group));
  }
  if (number == 0) return {};
  if (number > kMostShown) names += " and " + std::to_string(number - kMostShown) + " more";
  return "the groups of the user " + inQuotes(user) + " (" + names + "): asked with --with-groups";
}

std::vector<std::string> notAsked(const Snapshot& snapshot, const Question& question) {
  std::vector<std::string> texts;
  for (const QuestionPart& part : question) {
    if (!isUser(part) || asks(question, QuestionPart::Kind::kGroups)) continue;
    if (std::string text = groupsNotAsked(snapshot, part.key); !text.empty()) texts.push_back(std::move(text));
  }
  if (asks(question, QuestionPart::Kind::kDefault)) return texts;
  const ZrPolicy* const byDefault = snapshot.cache().m_defaultLink.m_pPolicy;
  if (byDefault != nullptr) {
    texts.push_back("the default policy, " + std::to_string(byDefault->m_policyId) + " " +
                    inQuotes(byDefault->m_policyName) + ": asked with --default");
  }
  return texts;
}

// What the searches made of the policy, when one of them met a link of it.
const MetLink* firstMet(const Explanation& explanation, const ZrPolicy& policy) {
  for (const ExplainedSearch& search : explanation.searches) {
    for (const MetLink& met : search.links)
      if (met.link->m_pPolicy == &policy) return &met;
  }
  return nullptr;
}

}  // namespace

Explainer::Explainer(const Snapshot& snapshot, std::optional<std::int32_t> policyId)
    : m_snapshot(snapshot), m_policyId(policyId) {
  if (!policyId) return;
  const auto& policies = snapshot.cache().m_mapPolicy;
  const auto found = policies.find(*policyId);
  if (found == policies.end()) return;
  m_policy = found->second;
  m_linksOfPolicy = linksOfPolicy(snapshot.cache(), *m_policy);
}

Explanation Explainer::explain(const Question& question) const {
  Explanation explanation;
  ZrPolicyResultSet results;
  SearchLog log(m_snapshot.cache(), results, explanation.searches);
  searchEach(m_snapshot, question, results, [&log](const Search& search) { log.note(search); });
  explanation.results = answerOf(results);
  explanation.notAsked = notAsked(m_snapshot, question);
  if (m_policyId) explanation.policy = explainPolicy(question, explanation);
  return explanation;
}

PolicyExplanation Explainer::explainPolicy(const Question& question, const Explanation& explanation) const {
  PolicyExplanation policy{*m_policyId, false, "there is no policy " + std::to_string(*m_policyId), {}};
  if (m_policy == nullptr) return policy;
  const MetLink* const met = firstMet(explanation, *m_policy);
  policy.inAnswer = met != nullptr && met->outcome == LinkOutcome::kCounts;
  policy.reason = policy.inAnswer
                      ? linkName(*met->link) + " counts, with priority " + std::to_string(met->link->m_priority)
                      : whyNot();
  if (m_policy->m_isDefault && m_snapshot.cache().m_defaultLink.m_pPolicy != m_policy) {
    policy.reason += "; it is set as a default, but another one is the default policy";
  }
  policy.near = nearLinks({m_snapshot, question, explanation.searches}, m_linksOfPolicy);
  return policy;
}

// Why a policy that is there is not in the answer.
std::string Explainer::whyNot() const {
  if (m_policy->getRuleByDateTime() == nullptr) {
    return "it has no rule of kind 247 (it " + kindsOf(*m_policy) + "), so none of its links counts";
  }
  if (m_linksOfPolicy.empty()) {
    const std::uint64_t refused = m_snapshot.report().refused;
    return "no link leads to it" +
           (refused == 0 ? "" : " (" + counted(refused, "row") + " left out by loading, see zrpolicy load)");
  }
  const bool onlyDefault =
      m_linksOfPolicy.size() == 1 && m_linksOfPolicy.front()->m_entityType == ZrEntityType::DEFAULT;
  return onlyDefault
             ? "it is the default policy, which was not asked"
             : "the question meets none of its links, of which it has " + std::to_string(m_linksOfPolicy.size());
}

}  // namespace zrhost
