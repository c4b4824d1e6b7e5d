#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "live/Answer.h"
#include "live/Question.h"

namespace zrservice {

struct Decision;

// A decision as it waits for its line to be written. The texts point into the bytes that it was read from.
struct DecisionRecord {
  using Kind = zrlive::Question::Kind;

  struct Part {
    Kind kind;
    std::string_view key;
  };
  struct Result {
    std::int32_t policyId, priority;
    zrlive::EntityType type;
    std::string_view name;
  };

  std::timespec time{};
  std::int64_t nanoseconds = 0;
  std::optional<std::int64_t> revision;
  std::string_view instance, queueId, protocolState, recipient, action;
  std::vector<Part> questions;  // as they were asked: the groups of the users directly behind the last user
  std::vector<Result> results;
};

// Appends a decision that is made now. It copies what it needs, since a lease that waited for a disk would keep a whole
// snapshot in memory.
void appendDecision(std::string& bytes, const Decision& decision);

// Reads the record that `bytes` begin with, and takes it from them.
void takeDecision(std::string_view& bytes, DecisionRecord& record);

}  // namespace zrservice
