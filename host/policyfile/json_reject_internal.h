#pragma once

#include <string>
#include <string_view>

namespace zrhost {

// A rejected line of JSON Lines with why it was rejected, and its line end. An object keeps its bytes and gets the
// reason as its last member, in place of one that stood there from an earlier time. What is no object is wrapped into
// one, {"unreadable": TEXT} or {"unreadable_base64": TEXT}.
std::string rejectedJsonLine(std::string_view line, std::string_view reason);

}  // namespace zrhost
