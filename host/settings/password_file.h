#pragma once

#include <string>

namespace zrhost {

// The environment variable that holds a password.
inline constexpr char kPasswordVariable[] = "ZRPOLICY_PASSWORD";

// The password in a file: its first line, without the line's end, at most 4,096 bytes. The file may be a pipe.
//
// Refused (HostError kUsage, as for one that cannot be read) is a file to which others have any right, or to which its
// group may write. Its group may read it when it belongs to this user or to root, who then gave it to that group: the
// usual way is root:GROUP 0640.
std::string readPasswordFile(const std::string& path);

// The password in that file, or with an empty path the one in the environment; empty when there is none.
std::string passwordFrom(const std::string& path);

}  // namespace zrhost
