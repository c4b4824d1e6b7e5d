#pragma once

#include <string>

namespace zrtest {

// A stream connected to a Unix socket; -1 when nobody listens there.
int connectTo(const std::string& path);
// A socket that listens there, for everybody; throws when that fails.
int listenAt(const std::string& path);

}  // namespace zrtest
