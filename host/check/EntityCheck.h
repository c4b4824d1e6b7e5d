#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/check/Finding.h"
#include "policy/ZrEntityType.h"

namespace zrhost {

// Tells what loading refuses about the entity of a single link, as a check of all rows would, for those who meet links
// one at a time. Threads: one at a time.
class EntityCheck {
 public:
  EntityCheck();
  ~EntityCheck();
  EntityCheck(const EntityCheck&) = delete;
  EntityCheck& operator=(const EntityCheck&) = delete;

  // Why loading refuses an address (IP) or a range (IP_RANGE); nothing when it takes it, and for other types.
  std::optional<Fault> refusal(ZrEntityType type, const std::string& name);

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrhost
