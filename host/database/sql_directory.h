#pragma once

#include <string>

namespace zrhost {

// The folder of the statement files, with one folder in it for each kind of database: for a program that runs from its
// build tree the source tree's schema folder, else share/zrpolicy/sql beside the program's bin folder, else where the
// programs were configured to be installed. The first one that is there; throws HostError kInputOutput, which names all
// of them, when none is.
std::string findSqlDirectory();

}  // namespace zrhost
