#include "host/database/data_source_internal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <odbcinst.h>
#include <sstream>
#include <strings.h>
#include <utility>
#include <vector>

#include "host/base/HostError.h"
#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

// The driver waits at connecting, too, and takes 0 for 100 seconds.
constexpr const char* kSqliteSettings = "NoCreat=1\nTimeout=1\nStepAPI=1\n";
constexpr const char* kPostgresSettings = "UseDeclareFetch=1\nFetch=10000\n";

enum class Driver { kSqlite, kPostgres, kOther };

std::string profile(const std::string& section, const std::string& entry, const std::string& file) {
  std::array<char, 4096> buffer{};
  SQLGetPrivateProfileString(section.c_str(), entry.c_str(), "", buffer.data(), static_cast<int>(buffer.size()),
                             file.c_str());
  return buffer.data();
}

// The names of a section's settings: zero-terminated texts, one behind the other, up to an empty one.
std::vector<std::string> settingNames(const std::string& section, const std::string& file) {
  std::array<char, 16384> buffer{};
  SQLGetPrivateProfileString(section.c_str(), nullptr, "", buffer.data(), static_cast<int>(buffer.size()) - 2,
                             file.c_str());
  std::vector<std::string> names;
  for (const char* name = buffer.data(); *name != '\0'; name += std::strlen(name) + 1)
    names.emplace_back(name);
  return names;
}

// The settings of a data source of the administrator's, with what is taken out of them on the way.
class Settings {
 public:
  explicit Settings(const std::string& dsn) {
    for (const std::string& file : {OdbcEntry::userFile(), std::string("odbc.ini")}) {
      for (const std::string& name : settingNames(dsn, file))
        m_settings.emplace_back(name, profile(dsn, name, file));
      if (!m_settings.empty()) return;
    }
  }

  bool empty() const { return m_settings.empty(); }

  std::string value(const char* name) const {
    const auto found = std::ranges::find_if(m_settings, [name](const auto& each) { return is(each, name); });
    return found == m_settings.end() ? std::string() : found->second;
  }

  // The value of the first of these names; none of them is among the settings afterwards.
  std::string take(const char* name) {
    std::string taken = value(name);
    std::erase_if(m_settings, [name](const auto& each) { return is(each, name); });
    return taken;
  }

  void add(const char* name, const std::string& value) { m_settings.emplace_back(name, value); }

  std::string text() const {
    std::string text;
    for (const auto& [name, value] : m_settings)
      text.append(name).append("=").append(value).append("\n");
    return text;
  }

  // A driver is a registered name or a file; what kind it is shows in the file's name.
  Driver driver() const {
    const std::string driver = value("Driver");
    std::string file = driver.empty() ? driver : profile(driver, "Driver", "odbcinst.ini");
    if (file.empty()) file = driver;
    if (strcasestr(file.c_str(), "psqlodbc") != nullptr) return Driver::kPostgres;
    return strcasestr(file.c_str(), "sqlite") != nullptr ? Driver::kSqlite : Driver::kOther;
  }

 private:
  using Setting = std::pair<std::string, std::string>;
  static bool is(const Setting& setting, const char* name) { return strcasecmp(setting.first.c_str(), name) == 0; }

  std::vector<Setting> m_settings;
};

// libpq's options "name=value name=value" without the time that the driver sets itself.
std::string withoutTimeout(const std::string& options) {
  std::istringstream words(options);
  std::string rest;
  for (std::string word; words >> word;)
    if (!word.starts_with("connect_timeout=")) rest += (rest.empty() ? "" : " ") + word;
  return rest;
}

void adaptPostgres(Settings& settings, Access access) {
  if (access == Access::kRead) settings.take("ReadOnly");  // the driver would refuse even BEGIN ... READ ONLY
  if (const std::string options = settings.take("pqopt"); !options.empty()) {
    settings.add("pqopt", options.find("connect_timeout=") == std::string::npos ? options : withoutTimeout(options));
  }
}

// Whether the value is the path of a file that has to be there: not a URI, not a database in memory.
bool isPath(const std::string& database) {
  return !database.empty() && database.front() != ':' && !database.starts_with("file:");
}

}  // namespace

DataSource::DataSource(const DatabaseOptions& options, const std::string& file, Access access)
    : m_password(options.password) {
  options.dsn.empty() ? openFile(options, file.empty() ? options.file : file) : openDsn(options, access);
  publish();
}

void DataSource::openFile(const DatabaseOptions& options, const std::string& file) {
  m_sqlite = true;
  m_file.emplace(file, placeOf(options));
  m_settings = std::string("Driver=SQLite3\nFKSupport=1\n") + kSqliteSettings;
}

void DataSource::openDsn(const DatabaseOptions& options, Access access) {
  Settings settings(options.dsn);
  if (settings.empty()) {
    throw HostError(ErrorKind::kUnreachable, "unknown data source '" + options.dsn +
                                                 "'; add it to odbc.ini, or name one that 'odbcinst -q -s' lists");
  }
  for (const char* name : {"Password", "Pwd"})
    if (const std::string password = settings.take(name); m_password.empty()) m_password = password;
  const Driver driver = settings.driver();
  if (driver == Driver::kPostgres) adaptPostgres(settings, access);
  m_sqlite = driver == Driver::kSqlite;
  if (m_sqlite) {
    m_lockWait = static_cast<int>(strictNumber(settings.take("Timeout"), 1, m_lockWait).value_or(m_lockWait));
    const std::string noCreat = settings.take("NoCreat");
    const std::string database = settings.value("Database");
    if (access == Access::kMake) settings.add("NoCreat", noCreat.empty() ? "0" : noCreat);
    if (access != Access::kMake && isPath(database)) {
      m_file.emplace(database, "'" + database + "' of " + placeOf(options));
      settings.take("Database");
    }
  }
  // The first of two settings of one name counts, so what the administrator wrote goes before.
  m_settings = settings.text() + (driver == Driver::kPostgres ? kPostgresSettings : m_sqlite ? kSqliteSettings : "");
}

void DataSource::publish() {
  m_entry.emplace(m_settings + (m_file ? "Database=" + m_file->database() + "\n" : ""));
}

bool DataSource::readUnlocked() {
  if (!m_file || !m_file->mayReadUnlocked()) return false;
  m_file->readUnlocked();
  publish();
  return true;
}

}  // namespace zrhost
