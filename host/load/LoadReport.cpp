#include "host/load/LoadReport.h"

#include <numeric>

namespace zrhost {

std::string RefusedRow::text() const {
  return table + ", " + key + ": " + reason;
}

std::uint64_t LoadReport::links() const {
  return std::accumulate(linksByType.begin(), linksByType.end(), std::uint64_t{0});
}

}  // namespace zrhost
