#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/settings/Options.h"
#include "live/Question.h"
#include "service/PolicyRequest.h"

namespace zrservice {

// What a request is asked for, by the settings of [questions]: users, their groups, hosts, addresses, other keys, the
// default policy, in this order.
//
// Values that are empty or "unknown" are not asked for, which is how Postfix says that it does not know, nor those that
// no lookup can be made with. Trailing dots go. An address ::ffff:a.b.c.d is the IPv4 address; other IPv6 addresses are
// not asked for.
//
// Threads: any number at once, each with a question of its own.
class QuestionRules {
 public:
  explicit QuestionRules(const zrhost::QuestionsSection& settings);

  // Empties the question, and fills it. Answers the number of addresses that were left out since they are IPv6.
  unsigned ask(const PolicyRequest& request, zrlive::Question& question) const;

  // One line for each attribute that a stranger can write, and that is taken for an identity.
  std::vector<std::string> warnings() const;

 private:
  void addUsers(const PolicyRequest& request, zrlive::Question& question) const;
  void addDomains(const PolicyRequest& request, zrlive::Question& question) const;
  void addHosts(const PolicyRequest& request, zrlive::Question& question) const;
  static unsigned addAddress(std::string_view text, zrlive::Question& question);

  zrhost::QuestionsSection m_settings;
};

// The value without dots at its end; empty for what says that nothing is known.
std::string_view knownValue(std::string_view value);

// The IPv4 address of ::ffff:a.b.c.d, or the text as it is.
std::string_view withoutMapping(std::string_view address);
bool isIpv6(std::string_view address);

}  // namespace zrservice
