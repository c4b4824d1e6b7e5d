#pragma once

#include <memory>
#include <string>

#include "live/Answer.h"
#include "live/Question.h"
#include "service/Complaints.h"
#include "service/Counters.h"
#include "service/Desk.h"
#include "service/PolicyRequest.h"
#include "service/SocketmapRequest.h"
#include "service/Verdict.h"

namespace zrservice {

// Answers requests, for one thread; what an answer needs of memory is kept from one to the next.
class Answerer {
 public:
  // Both must outlive it.
  Answerer(const Desk& desk, Counters& counters) : m_desk(desk), m_counters(counters) {}

  // Appends the reply. Never throws: what fails is answered as if there were no policies.
  void answer(const PolicyRequest& request, std::string& out) noexcept;
  void answer(const SocketmapRequest& request, std::string& out) noexcept;
  // The reply to what is no request, or to one that nobody has time for.
  void refuse(const PolicyRequest&, std::string& out) noexcept;
  void refuse(const SocketmapRequest&, std::string& out) noexcept;

  const Rules& rules();

 private:
  Verdict decide();
  void decideAndReply(const PolicyRequest& request, std::string& out);
  std::string replyTo(const SocketmapRequest& request);
  bool takeQuestion(const SocketmapRequest& request);
  void noteFault(const Verdict& verdict);

  const Desk& m_desk;
  Counters& m_counters;
  std::shared_ptr<const Rules> m_rules;
  std::uint64_t m_change = 0;
  std::shared_ptr<const zrlive::Snapshot> m_lease;  // while a request is answered
  zrlive::Question m_question;
  zrlive::Answer m_answer;
  Complaints m_complaints;
};

}  // namespace zrservice
