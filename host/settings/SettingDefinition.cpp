#include "host/settings/SettingDefinition.h"

#include <algorithm>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/settings/nearest_word.h"
#include "host/settings/password_file.h"

namespace zrhost {

namespace {

// The kinds with the member of Options that they fill: a member of another type does not compile.
template <auto section, auto member>
constexpr TextKind text() {
  return {[](Options& options) -> std::string& { return options.*section.*member; }};
}

template <auto section, auto member>
constexpr NumberKind number(int minimum, int maximum) {
  return {[](Options& options) -> int& { return options.*section.*member; }, minimum, maximum};
}

template <auto section, auto member>
constexpr AnyTextKind anyText() {
  return {[](Options& options) -> std::string& { return options.*section.*member; }};
}

template <auto section, auto member>
constexpr SwitchKind yesOrNo() {
  return {[](Options& options) -> bool& { return options.*section.*member; }};
}

template <auto section, auto member>
constexpr ListKind list() {
  return {[](Options& options) -> TextList& { return options.*section.*member; }};
}

template <auto section, auto member>
constexpr WordKind word(const char* one, const char* other) {
  return {[](Options& options) -> std::string& { return options.*section.*member; }, {one, other}};
}

constexpr int kLongestTime = 86400 * 365;
constexpr char kSource[] = "Data source";
constexpr char kConnection[] = "Connection";
constexpr char kGeneral[] = "General";

constexpr auto kDatabase = &Options::database;
constexpr auto kService = &Options::service;
constexpr auto kQuestions = &Options::questions;
constexpr auto kAdmin = &Options::admin;

constexpr SettingDefinition kDefinitions[] = {
    {"database",
     "file",
     text<kDatabase, &DatabaseSection::file>(),
     "The SQLite file with the policy database. Not together with dsn.",
     {"--database", "FILE", kSource},
     "dsn"},
    {"database",
     "dsn",
     text<kDatabase, &DatabaseSection::dsn>(),
     "The ODBC data source of the policy database. Not together with file.",
     {"--dsn", "NAME", kSource},
     "file"},
    {"database",
     "user",
     text<kDatabase, &DatabaseSection::user>(),
     "The user that connects to the data source.",
     {"--db-user", "USER", kSource}},
    {"database",
     "password_file",
     text<kDatabase, &DatabaseSection::passwordFile>(),
     "A file with the user's password, which others may not read.",
     {"--password-file", "FILE", kSource},
     nullptr,
     kPasswordVariable},
    {"database",
     "pool_size",
     number<kDatabase, &DatabaseSection::poolSize>(1, 1024),
     "How many connections are kept open.",
     {"--pool-size", "NUMBER", kConnection}},
    {"database",
     "connect_timeout",
     number<kDatabase, &DatabaseSection::connectTimeout>(1, 3600),
     "Seconds that one attempt to connect may take.",
     {"--connect-timeout", "SECONDS", kConnection}},
    {"database",
     "retry_wait",
     number<kDatabase, &DatabaseSection::retryWait>(0, 3600),
     "Seconds to wait between two attempts to connect.",
     {"--retry-wait", "SECONDS", kConnection}},
    {"database",
     "retries",
     number<kDatabase, &DatabaseSection::retries>(1, 1000),
     "How many attempts to connect are made in all.",
     {"--retries", "NUMBER", kConnection}},
    {"database",
     "read_timeout",
     number<kDatabase, &DatabaseSection::readTimeout>(1, 86400),
     "Seconds that a server may say nothing while it is read.",
     {"--read-timeout", "SECONDS", kConnection}},
    {"sql",
     "directory",
     text<kDatabase, &DatabaseSection::sqlDirectory>(),
     "The folder of the SQL statements, if not the one installed with the program.",
     {"--sql-dir", "FOLDER", kGeneral}},
    {"log",
     "level",
     number<&Options::log, &LogSection::level>(0, 4),
     "What is logged: 0 nothing, 1 errors, 2 warnings, 3 what is done, 4 every step.",
     {"--log-level", "LEVEL", kGeneral}},
    {"service",
     "listen",
     list<kService, &ServiceSection::listen>(),
     "Where the policy protocol is served: unix:PATH or inet:ADDRESS:PORT.",
     {}},
    {"service",
     "socketmap",
     list<kService, &ServiceSection::socketmap>(),
     "Where socketmap lookups are served, as in listen.",
     {}},
    {"service",
     "socket_mode",
     text<kService, &ServiceSection::socketMode>(),
     "The permissions of Unix sockets, as an octal number.",
     {}},
    {"service",
     "socket_group",
     text<kService, &ServiceSection::socketGroup>(),
     "The group of Unix sockets, if not that of the service.",
     {}},
    {"service",
     "allow_remote",
     yesOrNo<kService, &ServiceSection::allowRemote>(),
     "Whether addresses other than those of the loopback may be listened on.",
     {}},
    {"service",
     "user",
     text<kService, &ServiceSection::user>(),
     "The user that a service which root started becomes.",
     {}},
    {"service",
     "threads",
     number<kService, &ServiceSection::threads>(0, 64),
     "How many threads answer; 0 is one a processor, at most 4.",
     {}},
    {"service",
     "state_folder",
     text<kService, &ServiceSection::stateFolder>(),
     "The folder that keeps the last good policies.",
     {}},
    {"service",
     "poll",
     number<kService, &ServiceSection::poll>(1, 86400),
     "Seconds between two looks at the revision of the database.",
     {}},
    {"service",
     "reload_interval",
     number<kService, &ServiceSection::reloadInterval>(1, 86400),
     "Seconds that lie at least between two loads.",
     {}},
    {"service",
     "keep_interval",
     number<kService, &ServiceSection::keepInterval>(1, 86400),
     "Seconds that lie at least between two writings of the last good policies.",
     {}},
    {"service",
     "max_age",
     number<kService, &ServiceSection::maxAge>(0, kLongestTime),
     "Seconds without a word of the database after which policies are too old; 0 is never.",
     {}},
    {"service",
     "no_match_action",
     text<kService, &ServiceSection::noMatchAction>(),
     "What is answered when no policy applies.",
     {}},
    {"service",
     "unavailable_action",
     text<kService, &ServiceSection::unavailableAction>(),
     "What is answered while there are no policies.",
     {}},
    {"service",
     "stale_action",
     text<kService, &ServiceSection::staleAction>(),
     "What is answered when the policies are too old, if not unavailable_action.",
     {}},
    {"service",
     "fault_action",
     text<kService, &ServiceSection::faultAction>(),
     "What is answered in place of an action that cannot be sent.",
     {}},
    {"service",
     "shadow",
     yesOrNo<kService, &ServiceSection::shadow>(),
     "Whether everything is answered with DUNNO, and only logged.",
     {}},
    {"service",
     "decision_log",
     text<kService, &ServiceSection::decisionLog>(),
     "The file that decisions are logged to, or stderr.",
     {}},
    {"service",
     "sample",
     number<kService, &ServiceSection::sample>(1, 1000000),
     "Of how many decisions one is logged.",
     {}},
    {"service",
     "redact",
     list<kService, &ServiceSection::redact>(),
     "What is logged as a keyed hash: user, group, host, address, other, recipient.",
     {}},
    {"service",
     "redact_key_file",
     text<kService, &ServiceSection::redactKeyFile>(),
     "The file with the key of these hashes.",
     {}},
    {"service",
     "idle_timeout",
     number<kService, &ServiceSection::idleTimeout>(1, 86400),
     "Seconds after which a connection without a request is closed.",
     {}},
    {"service",
     "request_timeout",
     number<kService, &ServiceSection::requestTimeout>(1, 3600),
     "Seconds that a request may take to arrive.",
     {}},
    {"service",
     "shutdown_timeout",
     number<kService, &ServiceSection::shutdownTimeout>(0, 3600),
     "Seconds that the end of the service waits for requests that are under way.",
     {}},
    {"service",
     "max_connections",
     number<kService, &ServiceSection::maxConnections>(1, 1000000),
     "How many connections are served at a time.",
     {}},
    {"questions", "user", list<kQuestions, &QuestionsSection::user>(), "The attributes that name users.", {}},
    {"questions", "host", list<kQuestions, &QuestionsSection::host>(), "The attributes that name hosts.", {}},
    {"questions", "address", list<kQuestions, &QuestionsSection::address>(), "The attributes that hold addresses.", {}},
    {"questions", "other", list<kQuestions, &QuestionsSection::other>(), "The attributes that hold other keys.", {}},
    {"questions",
     "default",
     yesOrNo<kQuestions, &QuestionsSection::byDefault>(),
     "Whether the default policy is asked for.",
     {}},
    {"questions",
     "members",
     yesOrNo<kQuestions, &QuestionsSection::members>(),
     "Whether the groups of the users are asked for.",
     {}},
    {"questions",
     "parent_domains",
     yesOrNo<kQuestions, &QuestionsSection::parentDomains>(),
     "Whether a host a.b.c is also asked for as .b.c and .c.",
     {}},
    {"questions",
     "recipient_delimiter",
     anyText<kQuestions, &QuestionsSection::recipientDelimiter>(),
     "The characters that begin an extension, without which a user is also asked for; empty is none.",
     {}},
    {"questions",
     "domain_as",
     word<kQuestions, &QuestionsSection::domainAs>("other", "none"),
     "What the domain of a user is also asked for as.",
     {}},
    {"questions",
     "localpart",
     yesOrNo<kQuestions, &QuestionsSection::localpart>(),
     "Whether a user is also asked for without the domain.",
     {}},
    {"admin",
     "listen",
     list<kAdmin, &AdminSection::listen>(),
     "Where the service is administered: unix:PATH, or inet:ADDRESS:PORT of the loopback.",
     {}},
};

}  // namespace

std::optional<std::string> TextKind::store(std::string_view text, Options& options) const {
  member(options) = text;
  return std::nullopt;
}

std::optional<std::string> NumberKind::store(std::string_view text, Options& options) const {
  const auto number = strictNumber(text, minimum, maximum);
  if (!number) return "not a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum);
  member(options) = static_cast<int>(*number);
  return std::nullopt;
}

std::optional<std::string> AnyTextKind::store(std::string_view text, Options& options) const {
  member(options) = text;
  return std::nullopt;
}

std::optional<std::string> SwitchKind::store(std::string_view text, Options& options) const {
  if (text != "yes" && text != "no") return "neither yes nor no";
  member(options) = text == "yes";
  return std::nullopt;
}

std::optional<std::string> ListKind::store(std::string_view text, Options& options) const {
  TextList words;
  constexpr std::string_view kGaps = ", \t";
  for (std::size_t at = 0; (at = text.find_first_not_of(kGaps, at)) != text.npos;) {
    const std::size_t end = std::min(text.find_first_of(kGaps, at), text.size());
    words.emplace_back(text.substr(at, end - at));
    at = end;
  }
  member(options) = std::move(words);
  return std::nullopt;
}

std::string ListKind::shown(Options& options) const {
  std::string text;
  for (const std::string& each : member(options))
    text += (text.empty() ? "" : " ") + each;
  return text;
}

std::optional<std::string> WordKind::store(std::string_view text, Options& options) const {
  if (text != words[0] && text != words[1]) return "neither " + std::string(words[0]) + " nor " + words[1];
  member(options) = text;
  return std::nullopt;
}

std::string NumberKind::limits() const {
  return "From " + std::to_string(minimum) + " to " + std::to_string(maximum);
}

const SettingDefinition* SettingDefinition::rival() const {
  return notWith == nullptr ? nullptr : findSetting(section, notWith);
}

std::string SettingDefinition::defaultText() const {
  Options untouched;
  return std::visit([&untouched](const auto& each) { return each.shown(untouched); }, kind);
}

std::string SettingDefinition::limits() const {
  return std::visit([](const auto& each) { return each.limits(); }, kind);
}

bool SettingDefinition::isSetBy(std::string_view text) const {
  return !text.empty() || std::visit([](const auto& each) { return each.kEmptyCounts; }, kind);
}

std::optional<std::string> SettingDefinition::store(std::string_view text, Options& options) const {
  const auto fault = std::visit([&](const auto& each) { return each.store(text, options); }, kind);
  if (!fault) return std::nullopt;
  return title() + " = \"" + shortened(text) + "\": " + *fault;
}

std::span<const SettingDefinition> settingDefinitions() {
  return kDefinitions;
}

const SettingDefinition* findSetting(std::string_view section, std::string_view name) {
  const auto found = std::ranges::find_if(kDefinitions, [&](const SettingDefinition& setting) {
    return section == setting.section && name == setting.name;
  });
  return found == std::end(kDefinitions) ? nullptr : found;
}

bool isKnownSection(std::string_view section) {
  return std::ranges::any_of(kDefinitions,
                             [&](const SettingDefinition& setting) { return section == setting.section; });
}

std::optional<std::string> unknownSettingFault(std::string_view section, std::string_view name) {
  if (findSetting(section, name) != nullptr) return std::nullopt;
  std::vector<std::string_view> sections, names;
  for (const SettingDefinition& setting : kDefinitions) {
    sections.emplace_back(setting.section);
    if (section == setting.section) names.emplace_back(setting.name);
  }
  if (names.empty()) {
    return "unknown section [" + shortened(section) + "], did you mean [" + nearestWord(section, sections) + "]?";
  }
  return "unknown setting \"" + shortened(name) + "\" in [" + std::string(section) + "], did you mean \"" +
         nearestWord(name, names) + "\"?";
}

std::string bothSetFault(const std::string& one, const std::string& other) {
  return one + " and " + other + " are both set; give one of them";
}

}  // namespace zrhost
