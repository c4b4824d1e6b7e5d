#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/log/LogSink.h"
#include "host/settings/ConfigCheck.h"
#include "live/LivePolicies.h"
#include "service/Identity.h"
#include "service/Service.h"
#include "service/service_settings_internal.h"

namespace zrservice {
namespace {

// What the file says is told by its lines; what a start would say is told as well.
void sayFindings(const zrhost::Settings& settings) {
  const std::string path = settings.file().path;
  for (const zrhost::ConfigFinding& finding : zrhost::checkConfigFile(path))
    say("warning: " + zrhost::terminalText(path) + ':' + std::to_string(finding.line) + ": " + finding.text);
  const zrhost::ServiceSection& service = settings.options().service;
  if (service.listen.empty() && service.socketmap.empty())
    say("warning: [service] listen and socketmap are empty: nobody could ask, unless the service manager hands over "
        "sockets");
}

void requireWritable(const zrhost::Settings& settings, const char* name, const std::string& path,
                     const std::filesystem::path& place) {
  if (access(place.c_str(), W_OK) == 0) return;
  throw zrhost::HostError(zrhost::ErrorKind::kInputOutput, zrhost::terminalText(settings.file().path) + ": [service] " +
                                                               name + " = \"" + zrhost::shortened(path) +
                                                               "\": cannot write there: " + std::strerror(errno));
}

// What a start finds out when it opens them; here nothing is made.
void requirePlaces(const zrhost::Settings& settings) {
  const zrhost::ServiceSection& service = settings.options().service;
  requireWritable(settings, "state_folder", service.stateFolder, service.stateFolder);
  if (service.decisionLog.empty() || service.decisionLog == "stderr") return;
  const std::filesystem::path log = std::filesystem::absolute(service.decisionLog);
  std::error_code ignored;
  const bool isThere = std::filesystem::exists(log, ignored);
  requireWritable(settings, "decision_log", service.decisionLog, isThere ? log : log.parent_path());
}

// Files and the database are to be looked at with the rights that the service will have.
void becomeItsUser(const zrhost::Settings& settings) {
  const std::string& user = settings.options().service.user;
  const std::optional<Identity> identity = user.empty() ? std::nullopt : identityToTake(user);
  if (!identity) return;
  become(*identity);
  requireService(settings);
}

}  // namespace

int checkService(const std::string& configFile) {
  const zrhost::Settings settings = readSettings(configFile);
  zrhost::setLogLevel(settings.options().log.level);
  requireService(settings);
  sayFindings(settings);
  sayOfStrangers(settings);
  becomeItsUser(settings);
  requirePlaces(settings);
  const zrlive::LiveStatus found = zrlive::LivePolicies::check(liveOptions(settings));
  std::printf("settings are fine; the database has revision %lld with %llu policies, %llu links, %llu members\n",
              static_cast<long long>(found.revision), static_cast<unsigned long long>(found.counts.policies),
              static_cast<unsigned long long>(found.counts.links()),
              static_cast<unsigned long long>(found.counts.members));
  if (found.counts.refusedRows > 0)
    std::printf("%llu row(s) cannot be used; see zrpolicy check\n",
                static_cast<unsigned long long>(found.counts.refusedRows));
  return 0;
}

}  // namespace zrservice
