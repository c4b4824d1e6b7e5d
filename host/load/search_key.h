#pragma once

#include <cstddef>

#include "policy/ZrEntityType.h"

namespace zrhost {

// Changes a key to the form in which the library's lookups of this type search it, in the locale of the calling thread:
// to lower case by isupper and tolower ("POP3_Mail_Sender" excepted), a host name to upper case by toupper then.
void makeSearchKey(ZrEntityType type, char* key, std::size_t size);

}  // namespace zrhost
