#pragma once

#include <string>

namespace zrhost {

// The folder of the statement files that came with the program, with one folder in it for each kind of database. There
// is one place for it, which the program's own file tells, whatever link it was called by: share/zrpolicy/sql beside
// the folder bin that it is in, or where these two were configured to be installed. A build tree is laid out likewise,
// so that no program holds a path of the machine that built it.
//
// Throws HostError kInputOutput when it is not there, or belongs to somebody who could not have installed the program:
// neither the administrator, nor the owner of the program's file, nor the user.
std::string findSqlDirectory();

// The same for statement files that came with another file, a library: `fromFolder` leads to them from its folder. Its
// owner stands in place of the program's.
std::string findSqlDirectory(const std::string& file, const std::string& fromFolder);

// Throws HostError kInputOutput unless the folder is there and can be read.
void checkSqlDirectory(const std::string& folder);

}  // namespace zrhost
