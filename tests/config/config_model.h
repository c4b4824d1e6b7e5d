#pragma once

#include <map>
#include <string>

namespace zrtest {

using ConfigSections = std::map<std::string, std::map<std::string, std::string>>;

// What a configuration file means, by the rules of docs/config-format.md taken one after the other, with fgets and
// without a thought of speed. Merges into `sections`; false when the file cannot be opened.
bool readConfigPlainly(const std::string& path, ConfigSections& sections);

// A file of `lines` lines that go out of their way to be odd: half-made headers and settings, continuations, line ends
// of every kind, zero bytes, marks, lines longer than a piece. The same seed makes the same file.
std::string generateConfig(unsigned seed, int lines);

}  // namespace zrtest
