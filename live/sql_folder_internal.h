#pragma once

#include <string>

namespace zrlive {

// The folder of the statement files of this library's installation. Throws HostError kInputOutput when it is not there.
std::string findSqlFolder();

}  // namespace zrlive
