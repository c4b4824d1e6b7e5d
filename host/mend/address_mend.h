#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "policy/ZrEntityType.h"

namespace zrhost {

// What stands between the two addresses of a range.
inline constexpr const char* kRangeSeparator = " ~ ";

struct StoredAddress {
  ZrEntityType type;  // IP or IP_RANGE
  std::string text;   // in the form that links store: "10.0.0.1", "10.0.0.1 ~ 10.0.0.9"
};

// What the text of a link of type IP or IP_RANGE can only mean: `stored`, which may be what stands there already; or,
// when a fault keeps it from that, `fault`, which says so behind the quoted text and without a full stop; or neither.
struct AddressMeaning {
  std::optional<StoredAddress> stored{};
  std::string fault{};
};

// Understood are addresses of four numbers without leading zeros (and "::ffff:10.0.0.1", which is one), networks
// ("10.0.0.0/24", the first address of the network in front) and ranges with a tilde or a hyphen, with blanks or
// without. A network or a range of one address is an address, and so is a range that lacks one of its two.
//
// A link of type IP whose text is a network or a range becomes a range, but for a text that loading takes for its first
// address, which is what it has meant so far ("10.0.0.1 ~ 10.0.0.9"): neither is sure then.
AddressMeaning meaningOfAddress(ZrEntityType type, std::string_view text);

}  // namespace zrhost
