#include "live/Answer.h"

#include "host/ask/Answer.h"
#include "live/answer_work_internal.h"

namespace zrlive {

const char* nameOf(EntityType type) {
  return zrhost::entityTypeName(static_cast<ZrPolicyCache::EntityType>(type));
}

Answer::Answer() = default;

Answer::~Answer() = default;

Answer::Answer(Answer&& other) noexcept = default;

Answer& Answer::operator=(Answer&& other) noexcept = default;

}  // namespace zrlive
