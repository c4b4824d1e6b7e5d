#pragma once

#include <string>

namespace zrtest {

// The lines of docs/postfix.md that an administrator copies: what stands in the fenced block whose first line is
// `title`, for instance "# /etc/postfix/main.cf". Throws when there is none.
std::string guideBlock(const std::string& title);

// A text with every `from` in it replaced; throws when there is none, so that a guide that changed is noticed.
std::string replaced(std::string text, const std::string& from, const std::string& to);

}  // namespace zrtest
