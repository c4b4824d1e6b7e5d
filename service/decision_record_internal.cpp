#include "service/decision_record_internal.h"

#include <algorithm>
#include <cstring>

#include "host/load/Snapshot.h"
#include "service/DecisionLog.h"

namespace zrservice {
namespace {

using Kind = zrlive::Question::Kind;
using Groups = std::vector<zrhost::GroupMembers::Group>;

template <typename Number>
void append(std::string& bytes, Number number) {
  char raw[sizeof number];
  std::memcpy(raw, &number, sizeof number);
  bytes.append(raw, sizeof raw);
}

void append(std::string& bytes, std::string_view text) {
  append(bytes, static_cast<std::uint32_t>(text.size()));
  bytes.append(text);
}

template <typename Number>
void take(std::string_view& bytes, Number& number) {
  std::memcpy(&number, bytes.data(), sizeof number);
  bytes.remove_prefix(sizeof number);
}

void take(std::string_view& bytes, std::string_view& text) {
  std::uint32_t size = 0;
  take(bytes, size);
  text = bytes.substr(0, size);
  bytes.remove_prefix(size);
}

// Those that were asked for, in their order.
void findGroups(const Decision& decision, Groups& groups) {
  groups.clear();
  if (!decision.question.members() || decision.snapshot == nullptr) return;
  for (std::size_t i = 0; i < decision.question.size(); ++i) {
    if (decision.question.kind(i) != Kind::kUser) continue;
    const auto found = decision.snapshot->inner().groupsOf(decision.question.key(i));
    groups.insert(groups.end(), found.begin(), found.end());
  }
  std::ranges::sort(groups);
  groups.erase(std::ranges::unique(groups).begin(), groups.end());
}

void appendGroups(std::string& bytes, const Decision& decision, const Groups& groups) {
  for (const auto group : groups) {
    append(bytes, Kind::kGroup);
    append(bytes, std::string_view(decision.snapshot->inner().groupName(group)));
  }
}

void appendQuestions(std::string& bytes, const Decision& decision) {
  thread_local Groups groups;
  findGroups(decision, groups);
  const zrlive::Question& question = decision.question;
  std::size_t behindUsers = 0;
  for (std::size_t i = 0; i < question.size(); ++i)
    if (question.kind(i) == Kind::kUser) behindUsers = i + 1;
  append(bytes, static_cast<std::uint32_t>(question.size() + groups.size()));
  for (std::size_t i = 0; i < question.size(); ++i) {
    append(bytes, question.kind(i));
    append(bytes, question.key(i));
    if (i + 1 == behindUsers) appendGroups(bytes, decision, groups);
  }
}

void appendResults(std::string& bytes, const zrlive::Answer& answer) {
  append(bytes, static_cast<std::uint32_t>(answer.size()));
  for (const zrlive::Result& result : answer) {
    append(bytes, result.policyId);
    append(bytes, result.priority);
    append(bytes, result.entityType);
    append(bytes, result.entityName);
  }
}

}  // namespace

void appendDecision(std::string& bytes, const Decision& decision) {
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  append(bytes, now);
  append(bytes, std::int64_t{decision.taken.count()});
  append(bytes, decision.snapshot != nullptr);
  append(bytes, decision.snapshot != nullptr ? decision.snapshot->revision() : std::int64_t{0});
  for (const char* const name : {"instance", "queue_id", "protocol_state", "recipient"})
    append(bytes, decision.request.value(name));
  append(bytes, decision.action);
  appendQuestions(bytes, decision);
  appendResults(bytes, decision.answer);
}

void takeDecision(std::string_view& bytes, DecisionRecord& record) {
  bool hasRevision = false;
  std::int64_t revision = 0;
  std::uint32_t count = 0;
  take(bytes, record.time);
  take(bytes, record.nanoseconds);
  take(bytes, hasRevision);
  take(bytes, revision);
  record.revision = hasRevision ? std::optional(revision) : std::nullopt;
  for (std::string_view* const text :
       {&record.instance, &record.queueId, &record.protocolState, &record.recipient, &record.action})
    take(bytes, *text);
  take(bytes, count);
  record.questions.resize(count);
  for (DecisionRecord::Part& part : record.questions) {
    take(bytes, part.kind);
    take(bytes, part.key);
  }
  take(bytes, count);
  record.results.resize(count);
  for (DecisionRecord::Result& result : record.results) {
    take(bytes, result.policyId);
    take(bytes, result.priority);
    take(bytes, result.type);
    take(bytes, result.name);
  }
}

}  // namespace zrservice
