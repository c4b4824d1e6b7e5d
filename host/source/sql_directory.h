#pragma once

#include <string>

namespace zrhost {

// The folder of the statement files, with one folder in it for each kind of database: share/zrpolicy/sql beside the
// running program's bin folder, else where the programs were configured to be installed, else, for a program that runs
// from its build tree, the source tree's schema folder. The first one that is there; throws HostError kInputOutput,
// which names all of them, when none is.
std::string findSqlDirectory();

}  // namespace zrhost
