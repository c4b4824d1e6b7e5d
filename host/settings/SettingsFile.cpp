#include "host/settings/SettingsFile.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>

#include "host/base/HostError.h"

namespace zrhost {

namespace {

constexpr char kDefaultFile[] = "/etc/zrpolicy/zrpolicy.conf";
constexpr char kFileVariable[] = "ZRPOLICY_CONFIG";

// Nobody named the default file, so it need not be there.
bool isMissingDefault(const SettingsFile& file) {
  struct stat status = {};
  return file.source == SettingSource::kDefault && stat(file.path.c_str(), &status) != 0 &&
         (errno == ENOENT || errno == ENOTDIR);
}

}  // namespace

SettingsFile findSettingsFile(const std::string& configFile) {
  if (!configFile.empty()) return {configFile, SettingSource::kOption};
  const char* variable = std::getenv(kFileVariable);
  if (variable != nullptr && *variable != '\0') return {variable, SettingSource::kEnvironment};
  return {kDefaultFile, SettingSource::kDefault};
}

std::optional<ConfigSections> readSettingsFile(const SettingsFile& file) {
  if (isMissingDefault(file)) return std::nullopt;
  try {
    return readConfigSections(file.path);
  } catch (const HostError& error) {
    const char* namedBy = file.source == SettingSource::kOption        ? "--config: "
                          : file.source == SettingSource::kEnvironment ? "ZRPOLICY_CONFIG: "
                                                                       : "";
    throw HostError(error.kind(), std::string(namedBy) + error.what());
  }
}

std::string requiredSettingsFile(const SettingsFile& file) {
  if (!isMissingDefault(file)) return file.path;
  throw HostError(ErrorKind::kInputOutput, "there is no settings file " + file.path + "; name one with --config");
}

}  // namespace zrhost
