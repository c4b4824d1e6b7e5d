#include "service/service_settings_internal.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/log/LogSink.h"
#include "host/settings/SettingsFile.h"
#include "service/DecisionLog.h"
#include "service/Identity.h"
#include "service/QuestionRules.h"
#include "service/Sockets.h"
#include "service/Verdict.h"

namespace zrservice {
namespace {

using std::chrono::seconds;
using zrhost::Options;

void requireFolder(const std::string& stateFolder) {
  std::error_code error;
  if (std::filesystem::is_directory(stateFolder, error)) return;
  throw zrhost::HostError(zrhost::ErrorKind::kInputOutput, "[service] state_folder = \"" +
                                                               zrhost::shortened(stateFolder) +
                                                               "\": " + (error ? error.message() : "no folder"));
}

// What settings say that cannot be served by.
void requireOptions(const Options& options) {
  if (options.database.file.empty() && options.database.dsn.empty())
    throw zrhost::HostError(zrhost::ErrorKind::kUsage, "[database] names none; set file or dsn");
  requireActions(options.service);
  requireSocketSettings(options.service);
  DecisionLog::requireSettings(options.service);
  requireAddresses(options);
  requireFolder(options.service.stateFolder);
  if (!options.service.user.empty()) (void)identityToTake(options.service.user);
}

}  // namespace

zrhost::Settings readSettings(const std::string& configFile) {
  (void)zrhost::requiredSettingsFile(zrhost::findSettingsFile(configFile));  // or nothing would name a database
  zrhost::SettingsRequest request;
  request.configFile = configFile;
  return zrhost::Settings(request);
}

void requireService(const zrhost::Settings& settings) {
  try {
    requireOptions(settings.options());
  } catch (const zrhost::HostError& error) {
    throw zrhost::HostError(error.kind(), zrhost::terminalText(settings.file().path) + ": " + error.what());
  }
}

zrlive::LiveOptions liveOptions(const zrhost::Settings& settings) {
  const zrhost::DatabaseOptions database = settings.database();
  const zrhost::ServiceSection& service = settings.options().service;
  zrlive::LiveOptions live;
  live.databaseFile = database.file;
  live.dataSource = database.dsn;
  live.user = database.user;
  live.password = database.password;
  live.sqlDirectory = database.sqlDirectory;
  live.connectTimeout = seconds(database.connectTimeout);
  live.readTimeout = seconds(database.readTimeout);
  live.poll = seconds(service.poll);
  live.reloadInterval = seconds(service.reloadInterval);
  live.keepInterval = seconds(service.keepInterval);
  live.maxAge = seconds(service.maxAge);
  live.stateFolder = service.stateFolder;
  return live;
}

std::vector<std::string> restartNeeded(const zrhost::Settings& now, const zrhost::Settings& next) {
  constexpr std::array kChangeable = {"no_match_action", "unavailable_action", "stale_action",    "fault_action",
                                      "shadow",          "idle_timeout",       "request_timeout", "shutdown_timeout",
                                      "max_connections"};
  std::vector<std::string> names;
  for (std::size_t i = 0; i < now.all().size(); ++i) {
    const zrhost::SettingDefinition& setting = *now.all()[i].definition;
    const std::string section = setting.section;
    const bool isChangeable = section == "questions" || section == "log" ||
                              (section == "service" && std::ranges::any_of(kChangeable, [&](const char* name) {
                                 return setting.name == std::string_view(name);
                               }));
    if (!isChangeable && now.all()[i].value != next.all()[i].value) names.push_back(setting.title());
  }
  return names;
}

void say(const std::string& text) {
  if (zrhost::takesLine()) std::fprintf(stderr, "zrpolicyd: %s\n", text.c_str());
}

void sayWarnings(const zrhost::Settings& settings) {
  for (const std::string& warning : settings.warnings())
    say("warning: " + warning);
  sayOfStrangers(settings);
}

void sayOfStrangers(const zrhost::Settings& settings) {
  for (const std::string& warning : QuestionRules(settings.options().questions).warnings())
    say("warning: " + warning);
}

}  // namespace zrservice
