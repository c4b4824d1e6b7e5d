#pragma once

#include <string>
#include <string_view>

namespace zrhost {

// What the C locale takes for white space.
inline constexpr std::string_view kBlanks = " \t\n\v\f\r";

// Without the blanks at both ends.
std::string_view trimmed(std::string_view text);

// A to Z as a to z; every other byte as it is.
std::string lowered(std::string_view text);

// The name as a question asks for it: in lower case, "POP3_Mail_Sender" excepted.
std::string askedName(std::string_view name);

// The name of a user, group, other key or member as a question finds it: without blanks at its ends and without
// capitals. Of one that is all blanks nothing is left.
std::string mendedName(std::string_view name);

// The name of a host: without blanks at its ends, and without a dot behind its last label. Capitals are searched in any
// case.
std::string mendedHost(std::string_view name);

}  // namespace zrhost
