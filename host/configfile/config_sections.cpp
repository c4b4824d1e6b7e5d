#include "host/configfile/config_sections.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "config/ConfigFile.h"
#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

namespace {

[[noreturn]] void fail(const std::string& path, const char* why) {
  throw HostError(ErrorKind::kInputOutput, "cannot read " + terminalText(path) + ": " + why);
}

// Tries a first byte of a plain file; of a pipe that byte would be lost.
void requireReadable(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) fail(path, std::strerror(errno));
  if (S_ISDIR(status.st_mode)) fail(path, "it is a folder");
  if (!S_ISREG(status.st_mode)) return;
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  char first = 0;
  if (!file || read(file.get(), &first, 1) < 0) fail(path, std::strerror(errno));
}

}  // namespace

ConfigSections readConfigSections(const std::string& path) {
  requireReadable(path);
  ConfigFile config(path.c_str());
  if (!config.ok()) fail(path, std::strerror(errno));
  return std::move(config.m_pImpl->m_sections);
}

}  // namespace zrhost
