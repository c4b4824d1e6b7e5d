#pragma once

#include <cstdint>
#include <string>

namespace zrhost {

// Where a row stands in what it was read from. A database tells none: the file is empty then.
struct RowPlace {
  std::string file;
  std::uint64_t line = 0;
};

}  // namespace zrhost
