#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zrhost {

// The text as it may be shown on a terminal: on one line, unable to steer the terminal or to show something else than
// it says. Printable UTF-8 stays as it is. Written as escapes are
//   \n \r \t         line feed, carriage return, tab
//   \xHH             other ASCII control characters, and bytes that are no UTF-8, one escape for each byte
//   \u{H...}         every other character that shows nothing or changes direction: C1 controls, format characters,
//                    line and paragraph separators, private and unassigned ones
// A backslash of the text itself stays a single one.
std::string terminalText(std::string_view text);

// terminalText of at most the first `mostBytes` bytes or so (never inside a character), with "..." behind it when
// something was left out. For texts inside messages.
std::string shortened(std::string_view text, std::size_t mostBytes = 120);

// A text on one line: control characters become blanks. For messages, which are made safe when they are shown.
std::string oneLine(std::string text);

// How many columns a text that terminalText made takes on a terminal: 2 for wide characters of East Asia and emoji, 0
// for combining ones, 1 for all others.
std::size_t displayWidth(std::string_view text);

// A text that terminalText made, on at most `columns` columns: when it takes more, its start with "…" behind it.
std::string cutToWidth(std::string_view text, std::size_t columns);

}  // namespace zrhost
