#include "host/check/action_check_internal.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "host/check/check_text_internal.h"
#include "host/mend/name_mend.h"

namespace zrhost {
namespace {

// A longer reply is cut by Postfix on its way into an SMTP reply.
constexpr std::size_t kLongest = 900;

// First words, in lower case and ascending order: the actions of access(5), then what postconf(5) names as
// restrictions, which a policy server may answer as well.
constexpr std::string_view kKnown[] = {"bcc",
                                       "check_ccert_access",
                                       "check_client_a_access",
                                       "check_client_access",
                                       "check_client_mx_access",
                                       "check_client_ns_access",
                                       "check_etrn_access",
                                       "check_helo_a_access",
                                       "check_helo_access",
                                       "check_helo_mx_access",
                                       "check_helo_ns_access",
                                       "check_policy_service",
                                       "check_recipient_a_access",
                                       "check_recipient_access",
                                       "check_recipient_mx_access",
                                       "check_recipient_ns_access",
                                       "check_reverse_client_hostname_a_access",
                                       "check_reverse_client_hostname_access",
                                       "check_reverse_client_hostname_mx_access",
                                       "check_reverse_client_hostname_ns_access",
                                       "check_sasl_access",
                                       "check_sender_a_access",
                                       "check_sender_access",
                                       "check_sender_mx_access",
                                       "check_sender_ns_access",
                                       "defer",
                                       "defer_if_permit",
                                       "defer_if_reject",
                                       "defer_unauth_destination",
                                       "discard",
                                       "dunno",
                                       "filter",
                                       "hold",
                                       "info",
                                       "ok",
                                       "permit",
                                       "permit_auth_destination",
                                       "permit_dnswl_client",
                                       "permit_inet_interfaces",
                                       "permit_mx_backup",
                                       "permit_mynetworks",
                                       "permit_naked_ip_address",
                                       "permit_rhswl_client",
                                       "permit_sasl_authenticated",
                                       "permit_tls_all_clientcerts",
                                       "permit_tls_clientcerts",
                                       "prepend",
                                       "redirect",
                                       "reject",
                                       "reject_authenticated_sender_login_mismatch",
                                       "reject_invalid_helo_hostname",
                                       "reject_known_sender_login_mismatch",
                                       "reject_multi_recipient_bounce",
                                       "reject_non_fqdn_helo_hostname",
                                       "reject_non_fqdn_recipient",
                                       "reject_non_fqdn_sender",
                                       "reject_plaintext_session",
                                       "reject_rbl_client",
                                       "reject_rhsbl_client",
                                       "reject_rhsbl_helo",
                                       "reject_rhsbl_recipient",
                                       "reject_rhsbl_reverse_client",
                                       "reject_rhsbl_sender",
                                       "reject_sender_login_mismatch",
                                       "reject_unauth_destination",
                                       "reject_unauth_pipelining",
                                       "reject_unauthenticated_sender_login_mismatch",
                                       "reject_unknown_client_hostname",
                                       "reject_unknown_forward_client_hostname",
                                       "reject_unknown_helo_hostname",
                                       "reject_unknown_recipient_domain",
                                       "reject_unknown_reverse_client_hostname",
                                       "reject_unknown_sender_domain",
                                       "reject_unlisted_recipient",
                                       "reject_unlisted_sender",
                                       "reject_unverified_recipient",
                                       "reject_unverified_sender",
                                       "sleep",
                                       "warn",
                                       "warn_if_reject"};
static_assert(std::is_sorted(std::begin(kKnown), std::end(kKnown)));

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isReplyCode(std::string_view word) {
  return word.size() == 3 && isDigits(word) && (word[0] == '4' || word[0] == '5');
}

// The word ends at a blank, a tab, or the comma between two restrictions.
bool isKnown(const std::string& action) {
  const std::string word = lowered(std::string_view(action).substr(0, action.find_first_of(" \t,")));
  return std::binary_search(std::begin(kKnown), std::end(kKnown), word) || isReplyCode(word) || isDigits(action);
}

std::string faultOf(const std::string& action, bool postfix) {
  if (action.find_first_of("\r\n") != std::string::npos) return "holds a line break";
  if (action.find('\0') != std::string::npos) return "holds a zero byte";
  if (action.size() > kLongest) return "is longer than " + std::to_string(kLongest) + " bytes";
  if (!postfix) return {};
  if (trimmed(action).empty()) return "is empty";
  return isKnown(action) ? std::string() : "begins with no word that Postfix knows";
}

}  // namespace

void checkAction(const std::string& action, bool postfix, std::vector<Fault>& faults) {
  const std::string fault = faultOf(action, postfix);
  if (fault.empty()) return;
  faults.push_back({FindingCode::kBadAction, "the action " + quotedText(action) + " " + fault,
                    postfix
                        ? "write one line that a Postfix policy reply can carry, as in 'DUNNO' or 'REJECT 5.7.1 text'"
                        : "write one line of at most " + std::to_string(kLongest) + " bytes"});
}

}  // namespace zrhost
