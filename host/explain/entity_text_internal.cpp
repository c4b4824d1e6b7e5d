#include "host/explain/entity_text_internal.h"

#include <arpa/inet.h>
#include <array>

#include "host/load/SqlLink.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

std::string inQuotes(std::string_view text) {
  return "'" + std::string(text) + "'";
}

std::string counted(std::size_t number, const char* word) {
  return std::to_string(number) + ' ' + word + (number == 1 ? "" : "s");
}

std::string linkName(const ZrEPLink& link) {
  const auto id = linkIdOf(link);
  return id ? "link " + std::to_string(*id) : "the default policy";
}

std::string kindsOf(const ZrPolicy& policy) {
  std::string kinds;
  std::size_t rules = 0;
  for (const ZrRule* rule : policy.m_vecRule) {
    if (rule == nullptr) continue;
    kinds += (kinds.empty() ? "" : ", ") + std::to_string(rule->m_ruleType);
    ++rules;
  }
  return rules == 0 ? "has no rules" : std::string("has kind") + (rules == 1 ? " " : "s ") + kinds;
}

std::uint32_t addressValue(const char* text) {
  return ntohl(inet_addr(text));
}

std::uint32_t addressValue(std::uint32_t networkOrder) {
  return ntohl(networkOrder);
}

std::string dotted(std::uint32_t value) {
  const in_addr address{htonl(value)};
  std::array<char, INET_ADDRSTRLEN> text{};
  return inet_ntop(AF_INET, &address, text.data(), text.size());
}

std::string decoded(std::string text) {
  return ZrPolicyCache().UnescapeLatinHtmlUnicode(text);
}

}  // namespace zrhost
