#include "service/Answerer.h"

#include <string_view>

#include "service/DecisionLog.h"
#include "support/PolicyLog.h"

namespace zrservice {
namespace {

using Kind = zrlive::Question::Kind;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kShadowAction = "DUNNO";
constexpr const char* kShadowReply = "NOTFOUND ";
constexpr const char* kNotReadyReply = "TEMP policy service is not ready";

void appendPolicyReply(std::string& out, std::string_view action) {
  out.append("action=").append(action).append("\n\n");
}

std::string socketmapReply(const Verdict& verdict) {
  switch (verdict.reason()) {
    case Verdict::Reason::kResult:
      return "OK " + std::string(verdict.action());
    case Verdict::Reason::kNoMatch:
      return "NOTFOUND ";
    case Verdict::Reason::kFault:
      return "TEMP policy data error";
    case Verdict::Reason::kStale:
      return "TEMP policies are too old";
    case Verdict::Reason::kUnavailable:
      break;
  }
  return kNotReadyReply;
}

struct MapName {
  std::string_view name;
  Kind kind;
};
constexpr MapName kMaps[] = {{"user", Kind::kUser},       {"group", Kind::kGroup}, {"host", Kind::kHost},
                             {"address", Kind::kAddress}, {"other", Kind::kOther}, {"default", Kind::kDefault}};

}  // namespace

const Rules& Answerer::rules() {
  const std::uint64_t change = m_desk.change();
  if (change != m_change) {
    m_rules = m_desk.rules();
    m_change = change;
  }
  return *m_rules;
}

Verdict Answerer::decide() {
  const zrlive::LiveState state = m_desk.policies().state();
  const zrhost::ServiceSection& settings = m_rules->service;
  if (state == zrlive::LiveState::kReady) m_lease = m_desk.policies().lease();
  if (!m_lease) return verdictWithout(state, settings);
  m_lease->ask(m_question, m_answer);
  return verdictFor(m_answer, settings);
}

void Answerer::noteFault(const Verdict& verdict) {
  if (verdict.reason() != Verdict::Reason::kFault) return;
  addAlone(m_counters.faultyActions);
  if (!m_complaints.mayLog()) return;  // a faulty policy may apply to every mail
  PolicyLog::log(PolicyLog::LEVEL_ERROR,
                 "policy %d has an action that cannot be sent (empty, longer than 900 bytes, or with a line break); "
                 "see zrpolicy check",
                 static_cast<int>(m_answer[0].policyId));
}

void Answerer::decideAndReply(const PolicyRequest& request, std::string& out) {
  const auto begun = Clock::now();
  addAlone(m_counters.policyRequests);
  addAlone(m_counters.ipv6Addresses, rules().questions.ask(request, m_question));
  m_answer.clear();
  const Verdict verdict = decide();
  noteFault(verdict);
  const std::string_view sent = m_rules->service.shadow ? kShadowAction : verdict.action();
  appendPolicyReply(out, sent);
  m_counters.answers.add(sent);
  const auto taken = Clock::now() - begun;
  m_counters.latency.add(taken);
  if (m_desk.log() != nullptr)
    m_desk.log()->note({request, m_question, m_answer, m_lease.get(), verdict.action(), taken});
  m_lease.reset();
}

void Answerer::answer(const PolicyRequest& request, std::string& out) noexcept {
  const std::size_t before = out.size();
  try {
    decideAndReply(request, out);
  } catch (...) {  // no memory: the mail has to wait for better times
    m_lease.reset();
    out.resize(before);
    refuse(request, out);
  }
}

void Answerer::refuse(const PolicyRequest&, std::string& out) noexcept {
  try {
    const zrhost::ServiceSection& settings = rules().service;
    appendPolicyReply(out, settings.shadow ? kShadowAction : std::string_view(settings.unavailableAction));
  } catch (...) {  // the connection is closed without an answer, which Postfix takes for a reason to wait
  }
}

bool Answerer::takeQuestion(const SocketmapRequest& request) {
  for (const MapName& map : kMaps) {
    if (map.name != request.map()) continue;
    m_question.clear();
    const std::string_view key = map.kind == Kind::kAddress ? withoutMapping(request.key()) : request.key();
    const bool isAsked = m_question.tryAdd(map.kind, key);
    if (!isAsked && map.kind == Kind::kAddress && isIpv6(key)) addAlone(m_counters.ipv6Addresses);
    return true;
  }
  return false;
}

std::string Answerer::replyTo(const SocketmapRequest& request) {
  addAlone(m_counters.socketmapRequests);
  rules();
  m_answer.clear();
  if (!takeQuestion(request)) return "PERM unknown map, ask user, group, host, address, other or default";
  const Verdict verdict = decide();
  noteFault(verdict);
  return m_rules->service.shadow ? kShadowReply : socketmapReply(verdict);
}

void Answerer::answer(const SocketmapRequest& request, std::string& out) noexcept {
  const std::size_t before = out.size();
  try {
    const auto begun = Clock::now();
    const std::string reply = replyTo(request);
    m_lease.reset();
    appendNetstring(out, reply);
    m_counters.answers.add(reply);
    m_counters.latency.add(Clock::now() - begun);
  } catch (...) {
    m_lease.reset();
    out.resize(before);
    refuse(request, out);
  }
}

void Answerer::refuse(const SocketmapRequest&, std::string& out) noexcept {
  try {
    appendNetstring(out, rules().service.shadow ? kShadowReply : kNotReadyReply);
  } catch (...) {
  }
}

}  // namespace zrservice
