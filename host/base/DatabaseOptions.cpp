#include "host/base/DatabaseOptions.h"

namespace zrhost {

std::string placeOf(const DatabaseOptions& options) {
  return options.dsn.empty() ? "'" + options.file + "'" : "data source '" + options.dsn + "'";
}

}  // namespace zrhost
