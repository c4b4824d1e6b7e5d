#pragma once

#include <map>
#include <string>

namespace zrhost {

// What a configuration file means: section, name, value.
using ConfigSections = std::map<std::string, std::map<std::string, std::string>>;

// Reads a file with ConfigFile, which takes one that opens and cannot be read for an empty one: this does not. Throws
// HostError kInputOutput.
ConfigSections readConfigSections(const std::string& path);

}  // namespace zrhost
