#include "host/check/EntityCheck.h"

#include <utility>
#include <vector>

#include "host/check/address_check_internal.h"

namespace zrhost {

struct EntityCheck::Parts {
  LinkJudge judge;
};

EntityCheck::EntityCheck() : m_parts(std::make_unique<Parts>()) {}

EntityCheck::~EntityCheck() = default;

std::optional<Fault> EntityCheck::refusal(ZrEntityType type, const std::string& name) {
  if (type != ZrEntityType::IP && type != ZrEntityType::IP_RANGE) return std::nullopt;
  std::vector<Fault> faults;
  explainRefusedAddress(type, name, m_parts->judge, faults);
  return faults.empty() ? std::nullopt : std::optional(std::move(faults.front()));
}

}  // namespace zrhost
