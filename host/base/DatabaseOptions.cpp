#include "host/base/DatabaseOptions.h"

#include "host/base/HostError.h"

namespace zrhost {

void requireOneDatabase(const DatabaseOptions& options) {
  if (options.file.empty() != options.dsn.empty()) return;
  throw HostError(ErrorKind::kUsage, options.file.empty()
                                         ? "no database is named; give --database FILE or --dsn NAME"
                                         : "a file and a data source are both named; give one of them");
}

std::string placeOf(const DatabaseOptions& options) {
  return options.dsn.empty() ? "'" + options.file + "'" : "data source '" + options.dsn + "'";
}

}  // namespace zrhost
