#include "cli/database_access.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/standard_streams.h"
#include "host/base/terminal_text.h"
#include "host/log/LogSink.h"
#include "host/settings/Settings.h"

namespace zrcli {

namespace {

using zrhost::ErrorKind;
using zrhost::HostError;

constexpr std::size_t kLongestPassword = 4096;

struct OpenFile {
  explicit OpenFile(const std::string& path) : descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)) {}
  ~OpenFile() {
    if (descriptor >= 0) ::close(descriptor);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  int descriptor;
};

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
  throw HostError(ErrorKind::kUsage, "password file " + zrhost::shortened(path) + ": " + reason);
}

void checkAccess(const OpenFile& file, const std::string& path) {
  struct stat status {};
  if (file.descriptor < 0 || ::fstat(file.descriptor, &status) != 0) {
    refuse(path, std::string(std::strerror(errno)) + "; name a readable file");
  }
  if (S_ISDIR(status.st_mode)) refuse(path, "is a folder; name a file");
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) refuse(path, "others may read or write it; chmod it to 600");
}

// Files and pipes alike, up to one byte more than a password may have.
std::string readStart(const OpenFile& file, const std::string& path) {
  std::string text(kLongestPassword + 2, '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const ssize_t count = ::read(file.descriptor, text.data() + size, text.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) refuse(path, std::strerror(errno));
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  text.resize(size);
  return text;
}

std::string passwordFor(const zrhost::Settings& settings) {
  const zrhost::EffectiveSetting& file = settings.get("database", "password_file");
  const char* fromEnvironment = std::getenv("ZRPOLICY_PASSWORD");
  const bool environmentWins = fromEnvironment != nullptr && file.source != zrhost::SettingSource::kOption;
  if (environmentWins) return fromEnvironment;
  return file.isSet ? readPasswordFile(file.value) : std::string();
}

}  // namespace

std::string readPasswordFile(const std::string& path) {
  const OpenFile file(path);
  checkAccess(file, path);
  std::string password = readStart(file, path);
  password.erase(std::min(password.find('\n'), password.size()));
  if (!password.empty() && password.back() == '\r') password.pop_back();
  if (password.size() > kLongestPassword) refuse(path, "its first line is no password, it is too long");
  if (password.find('\0') != std::string::npos) refuse(path, "its first line is no password, it holds a zero byte");
  return password;
}

zrhost::DatabaseOptions databaseOptions(const CommandContext& context) {
  const zrhost::Settings settings({context.configFile, context.given, context.optionNames});
  for (const std::string& warning : settings.warnings())
    printError("warning: " + warning);
  zrhost::setLogLevel(settings.number("log", "level"));
  zrhost::DatabaseOptions options;
  options.file = settings.text("database", "file");
  options.dsn = settings.text("database", "dsn");
  if (options.file.empty() && options.dsn.empty()) {
    throw HostError(ErrorKind::kUsage, "no database is named; give --database FILE or --dsn NAME");
  }
  options.user = settings.text("database", "user");
  if (!options.dsn.empty()) options.password = passwordFor(settings);
  options.sqlDirectory = settings.text("sql", "directory");
  options.poolSize = settings.number("database", "pool_size");
  options.connectTimeout = settings.number("database", "connect_timeout");
  options.retryWait = settings.number("database", "retry_wait");
  options.retries = settings.number("database", "retries");
  return options;
}

std::shared_ptr<const zrhost::Snapshot> loadPolicies(const CommandContext& context, zrhost::LoadOptions options) {
  options.strict = context.strict;
  zrhost::PolicyDatabase database(databaseOptions(context));
  return zrhost::Snapshot::load(database, options);
}

}  // namespace zrcli
