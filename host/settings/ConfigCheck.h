#pragma once

#include <string>
#include <vector>

namespace zrhost {

struct ConfigFinding {
  std::size_t line;  // from 1
  std::string text;  // one line; the value of a setting is shown for numbers only, so that no password can be
};

// What in a settings file is probably not what its writer meant, in the order of the lines: lines that are dropped in
// silence, settings that are set twice, lines over 1,023 bytes, zero bytes, trailing comments, carriage returns and
// blanks that became part of a value, a value that the end of the file cuts off, unknown sections and names, values
// that are no number of their range, file and dsn together.
//
// Throws HostError kInputOutput for a file that cannot be read.
std::vector<ConfigFinding> checkConfigFile(const std::string& path);

// The same for a text.
std::vector<ConfigFinding> checkConfigText(const std::string& text);

}  // namespace zrhost
