#include "host/check/policy_check_internal.h"

#include <optional>
#include <string>

#include "host/base/strict_number.h"
#include "host/check/check_text_internal.h"

namespace zrhost {
namespace {

std::optional<std::int32_t> policyNumber(const Field& field) {
  const auto number = field ? strictNumber(*field, INT32_MIN, INT32_MAX) : std::nullopt;
  return number ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

std::string subject(const ZrPolicy& policy) {
  return "the policy " + quotedText(policy.m_policyName);
}

Fault noSelectedRule(const ZrPolicy& policy, std::uint64_t links) {
  return {FindingCode::kNoSelectedRule,
          subject(policy) + " has no rule of kind 247, so that it never applies and none of its " +
              std::to_string(links) + " links counts",
          "give it a rule with rule_type 247, or remove the policy"};
}

}  // namespace

Fault unknownPolicy(const char* what, const Field& policyId) {
  return {FindingCode::kUnknownPolicy, "there is no policy " + *policyId,
          std::string("give the ") + what + " a policy that is there, or remove it"};
}

void PolicyCheck::add(const RowName& name) {
  m_known[*policyNumber(name.key.front().value)].place = name.place;
}

void PolicyCheck::countLink(const Field& policyId) {
  const auto number = policyNumber(policyId);
  const auto found = number ? m_known.find(*number) : m_known.end();
  if (found != m_known.end()) ++found->second.links;
}

bool PolicyCheck::isUnknown(const Field& policyId) const {
  const auto number = policyNumber(policyId);
  return number && m_cache.m_mapPolicy.count(*number) == 0;
}

void PolicyCheck::finishPolicy(const ZrPolicy& policy, const Known& known) {
  const RowName name{"policy", {{"policy_id", std::to_string(policy.m_policyId)}}, known.place};
  if (policy.getRuleByDateTime() == nullptr) m_log.report(name, noSelectedRule(policy, known.links));
  const ZrEPLink& theDefault = m_cache.m_defaultLink;
  if (policy.m_isDefault && theDefault.m_policyId != policy.m_policyId) {
    m_log.report(name, {FindingCode::kSeveralDefaults,
                        subject(policy) + " is marked as the default, but policy " +
                            std::to_string(theDefault.m_policyId) + " is: of several the highest ID counts",
                        "set is_default to 0 in all but one"});
  }
  if (known.links == 0 && !policy.m_isDefault) {
    m_log.report(name, {FindingCode::kUnusedPolicy, "no link names " + subject(policy) + ", and it is no default",
                        "link somebody to it, or remove it"});
  }
}

void PolicyCheck::finish() {
  for (const auto& [id, known] : m_known)
    finishPolicy(*m_cache.m_mapPolicy.at(id), known);
  if (m_cache.m_defaultLink.m_pPolicy != nullptr) return;
  m_log.report({"policy", {}, {}},
               {FindingCode::kNoDefault, "no policy is the default, so that none applies to whom no link names",
                "set is_default of one policy to 1 if there should be one"});
}

}  // namespace zrhost
