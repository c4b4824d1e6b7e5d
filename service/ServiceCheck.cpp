#include <cstdio>

#include "host/base/terminal_text.h"
#include "host/log/LogSink.h"
#include "host/settings/ConfigCheck.h"
#include "live/LivePolicies.h"
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

}  // namespace

int checkService(const std::string& configFile) {
  const zrhost::Settings settings = readSettings(configFile);
  zrhost::setLogLevel(settings.options().log.level);
  requireService(settings);
  sayFindings(settings);
  sayOfStrangers(settings);
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
