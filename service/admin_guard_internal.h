#pragma once

#include <httplib.h>
#include <string_view>

namespace zrservice {

// What a request is refused with; a status of 0 lets it pass.
struct Refusal {
  int status = 0;
  std::string_view why;
  std::string_view allowed;  // the method, of a status 405
};

// Looks at a request before its body is read: whether a page in a browser could have made it, which has an Origin or
// came by somebody else's name for this machine; whether there is such a resource, and for that method; and whether its
// body, if any, is one that is read at all.
Refusal refusalOf(const httplib::Request& request);

}  // namespace zrservice
