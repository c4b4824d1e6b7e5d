#include "service/QuestionRules.h"

#include <algorithm>
#include <array>
#include <strings.h>

namespace zrservice {
namespace {

using Kind = zrlive::Question::Kind;

// What the sender of a mail, or whoever connects, may write as it pleases. A client's name is not among them: Postfix
// takes it from the DNS only when name and address agree.
constexpr std::array kWrittenByStrangers = {"sender",      "helo_name", "reverse_client_name",
                                            "etrn_domain", "recipient", "sasl_sender"};

// A name is no longer in the DNS. Without an end, the parents of a long one would cost the square of its length.
constexpr std::size_t kLongestHostName = 255;

void addKey(zrlive::Question& question, Kind kind, std::string_view key) {
  question.tryAdd(kind, key);
}

std::string_view localPart(std::string_view user) {
  return user.substr(0, user.rfind('@'));
}

// Where an extension begins, which is not in front; the size of the local part without one.
std::size_t extensionOf(std::string_view local, std::string_view delimiters) {
  if (local.empty()) return 0;
  const auto* const found = std::find_first_of(local.begin() + 1, local.end(), delimiters.begin(), delimiters.end());
  return static_cast<std::size_t>(found - local.begin());
}

std::string_view domainOf(std::string_view user) {
  const std::size_t at = user.rfind('@');
  return at == user.npos ? std::string_view() : user.substr(at + 1);
}

}  // namespace

std::string_view knownValue(std::string_view value) {
  while (value.ends_with('.'))
    value.remove_suffix(1);
  return value.size() == 7 && strncasecmp(value.data(), "unknown", 7) == 0 ? std::string_view() : value;
}

std::string_view withoutMapping(std::string_view address) {
  constexpr std::string_view kMapped = "::ffff:";
  const bool isMapped = address.starts_with(':') && address.size() > kMapped.size() &&
                        strncasecmp(address.data(), kMapped.data(), kMapped.size()) == 0 &&
                        address.find(':', kMapped.size()) == address.npos;
  return isMapped ? address.substr(kMapped.size()) : address;
}

bool isIpv6(std::string_view address) {
  return address.find(':') != address.npos;
}

QuestionRules::QuestionRules(const zrhost::QuestionsSection& settings) : m_settings(settings) {}

unsigned QuestionRules::ask(const PolicyRequest& request, zrlive::Question& question) const {
  question.clear();
  addUsers(request, question);
  question.setMembers(m_settings.members);
  addHosts(request, question);
  unsigned leftOut = 0;
  for (const std::string& name : m_settings.address)
    leftOut += addAddress(request.value(name), question);
  for (const std::string& name : m_settings.other)
    addKey(question, Kind::kOther, knownValue(request.value(name)));
  if (m_settings.domainAs == "other") addDomains(request, question);
  if (m_settings.byDefault) question.addDefault();
  return leftOut;
}

// As it stands, then without the extension, then without the domain.
void QuestionRules::addUsers(const PolicyRequest& request, zrlive::Question& question) const {
  for (const std::string& name : m_settings.user) {
    const std::string_view user = knownValue(request.value(name));
    addKey(question, Kind::kUser, user);
    const std::string_view local = localPart(user);
    const std::size_t extension = extensionOf(local, m_settings.recipientDelimiter);
    std::string_view plain = local;
    if (extension < local.size()) {
      plain = local.substr(0, extension);
      addKey(question, Kind::kUser, std::string(plain).append(user.substr(local.size())));
    }
    if (m_settings.localpart && local.size() < user.size()) addKey(question, Kind::kUser, plain);
  }
}

void QuestionRules::addDomains(const PolicyRequest& request, zrlive::Question& question) const {
  for (const std::string& name : m_settings.user)
    addKey(question, Kind::kOther, domainOf(knownValue(request.value(name))));
}

void QuestionRules::addHosts(const PolicyRequest& request, zrlive::Question& question) const {
  for (const std::string& name : m_settings.host) {
    const std::string_view host = knownValue(request.value(name));
    addKey(question, Kind::kHost, host);
    if (!m_settings.parentDomains || host.size() > kLongestHostName) continue;
    for (std::size_t dot = host.find('.', 1); dot < host.size(); dot = host.find('.', dot + 1))
      addKey(question, Kind::kHost, host.substr(dot));
  }
}

unsigned QuestionRules::addAddress(std::string_view text, zrlive::Question& question) {
  const std::string_view address = withoutMapping(knownValue(text));
  return !question.tryAdd(Kind::kAddress, address) && isIpv6(address) ? 1 : 0;
}

std::vector<std::string> QuestionRules::warnings() const {
  std::vector<std::string> lines;
  const std::pair<const char*, const zrhost::TextList&> lists[] = {{"user", m_settings.user},
                                                                   {"host", m_settings.host},
                                                                   {"address", m_settings.address},
                                                                   {"other", m_settings.other}};
  for (const auto& [setting, names] : lists) {
    for (const std::string& name : names) {
      const bool isInbound = name == "recipient" && std::string_view(setting) == "user";
      if (isInbound || std::ranges::find(kWrittenByStrangers, name) == kWrittenByStrangers.end()) continue;
      lines.push_back("[questions] " + std::string(setting) + " takes " + name +
                      " for an identity, which whoever sends a mail can write");
    }
  }
  return lines;
}

}  // namespace zrservice
