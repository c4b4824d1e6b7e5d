#include "live/options_internal.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/terminal_text.h"
#include "host/database/sql_directory.h"
#include "live/live_error_internal.h"
#include "live/sql_folder_internal.h"
#include "live/worker_internal.h"

namespace zrlive {
namespace {

void refuseUnless(bool isRight, const char* why) {
  if (!isRight) throw LiveError(LiveError::Kind::kUsage, why);
}

void checkTimes(const LiveOptions& options) {
  constexpr LiveOptions::Milliseconds none{0};
  refuseUnless(options.connectTimeout > none && options.readTimeout > none && options.poll > none,
               "the times to connect, to read and between two polls must be above 0");
  refuseUnless(options.firstPause > none && options.longestPause >= options.firstPause,
               "the first pause after a failure must be above 0, and the longest one no shorter");
  refuseUnless(options.reloadInterval >= none && options.keepInterval >= none && options.coldStartWait >= none &&
                   options.maxAge >= none,
               "no time may be negative");
  for (const auto time : {options.connectTimeout, options.readTimeout, options.poll, options.reloadInterval,
                          options.longestPause, options.keepInterval, options.coldStartWait, options.maxAge})
    refuseUnless(time <= kLongestWait, "no time may be above ten years");
}

void checkStateFolder(const std::string& folder) {
  struct stat status {};
  const bool isFolder = stat(folder.c_str(), &status) == 0 && (S_ISDIR(status.st_mode) || (errno = ENOTDIR, false));
  if (isFolder && faccessat(AT_FDCWD, folder.c_str(), R_OK | W_OK | X_OK, AT_EACCESS) == 0) return;
  throw LiveError(LiveError::Kind::kInputOutput,
                  zrhost::oneLine("cannot use the state folder '" + folder + "': " + std::strerror(errno)));
}

}  // namespace

LiveOptions checkedOptions(LiveOptions options) {
  refuseUnless(options.databaseFile.empty() != options.dataSource.empty(),
               "the policies come from either a databaseFile or a dataSource");
  checkTimes(options);
  asLiveError([&options] {
    if (options.sqlDirectory.empty()) options.sqlDirectory = findSqlFolder();
    zrhost::checkSqlDirectory(options.sqlDirectory);
  });
  if (!options.stateFolder.empty()) checkStateFolder(options.stateFolder);
  return options;
}

zrhost::DatabaseOptions databaseOf(const LiveOptions& options) {
  zrhost::DatabaseOptions database;
  database.file = options.databaseFile;
  database.dsn = options.dataSource;
  database.user = options.user;
  database.password = options.password;
  database.sqlDirectory = options.sqlDirectory;
  database.connectTimeout = static_cast<int>(std::chrono::ceil<std::chrono::seconds>(options.connectTimeout).count());
  return database;
}

std::string silenceText(const LiveOptions& options) {
  const auto milliseconds = options.readTimeout.count();
  std::string seconds = std::to_string(milliseconds / 1000);
  if (milliseconds % 1000 != 0) seconds += "." + std::to_string(1000 + milliseconds % 1000).substr(1);
  return zrhost::oneLine("no answer from " + zrhost::placeOf(databaseOf(options)) + " for " + seconds +
                         " s; look after the server, or give it more time");
}

}  // namespace zrlive
