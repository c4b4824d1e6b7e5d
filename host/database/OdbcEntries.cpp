#include "host/database/OdbcEntries.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <odbcinst.h>
#include <strings.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "host/base/HostError.h"

namespace zrhost {
namespace {

namespace fs = std::filesystem;

constexpr const char* kIniName = "/odbc.ini";
constexpr const char* kLinkName = "/database";
constexpr const char* kStreamSqlite = "StepAPI=1\n";
constexpr const char* kStreamPostgres = "UseDeclareFetch=1\nFetch=10000\n";

// What a signal handler removes: plain storage that is whole before g_armed says so.
using Path = std::array<char, 512>;
Path g_folder, g_ini, g_link;
std::atomic<bool> g_armed{false};

void keepPath(Path& path, const std::string& text) {
  std::memcpy(path.data(), text.c_str(), text.size() + 1);
}

void arm(const std::string& folder) {
  keepPath(g_folder, folder);
  keepPath(g_ini, folder + kIniName);
  keepPath(g_link, folder + kLinkName);
  g_armed = true;
}

// Drivers read the folder's path from a settings file, so only a plain one is taken over from the environment.
std::string temporaryRoot() {
  const char* root = std::getenv("TMPDIR");
  const bool plain =
      root != nullptr && root[0] == '/' && std::strlen(root) < 300 &&
      root[std::strspn(root, "/abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-")] == '\0';
  return plain ? root : "/tmp";
}

[[noreturn]] void throwInputOutput(const std::string& what) {
  throw HostError(ErrorKind::kInputOutput,
                  "cannot make " + what + ": " + std::strerror(errno) + "; set TMPDIR to a folder that can be written");
}

std::string profile(const char* section, const char* entry, const char* file) {
  std::array<char, 4096> buffer{};
  SQLGetPrivateProfileString(section, entry, "", buffer.data(), static_cast<int>(buffer.size()), file);
  return buffer.data();
}

// The names of a data source's settings: zero-terminated texts, one behind the other, up to an empty one.
std::vector<std::string> settingNames(const std::string& dsn) {
  std::array<char, 16384> buffer{};
  SQLGetPrivateProfileString(dsn.c_str(), nullptr, "", buffer.data(), static_cast<int>(buffer.size()) - 2, "odbc.ini");
  std::vector<std::string> names;
  for (const char* name = buffer.data(); *name != '\0'; name += std::strlen(name) + 1)
    names.emplace_back(name);
  return names;
}

// What asks a driver to stream. A driver is a registered name or a file; `driver` is known by the file's name.
std::string streaming(const std::string& driver) {
  if (driver.empty()) return {};
  std::string file = profile(driver.c_str(), "Driver", "odbcinst.ini");
  if (file.empty()) file = driver;
  if (strcasestr(file.c_str(), "psqlodbc") != nullptr) return kStreamPostgres;
  if (strcasestr(file.c_str(), "sqlite3odbc") != nullptr) return kStreamSqlite;
  return {};
}

// The first of two settings of one name counts, so what the administrator wrote goes before.
std::string copiedSettings(const std::string& dsn) {
  std::string settings, driver;
  for (const std::string& name : settingNames(dsn)) {
    const std::string value = profile(dsn.c_str(), name.c_str(), "odbc.ini");
    if (strcasecmp(name.c_str(), "Driver") == 0) driver = value;
    settings.append(name).append("=").append(value).append("\n");
  }
  return settings.empty() ? settings : settings + streaming(driver);
}

}  // namespace

OdbcEntries::OdbcEntries() {
  std::string pattern = temporaryRoot() + "/zrpolicy-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throwInputOutput("a private folder in '" + temporaryRoot() + "'");
  m_folder = pattern;
  arm(m_folder);
  m_dsn = m_folder.substr(m_folder.rfind('/') + 1);
  if (const char* old = std::getenv("ODBCINI")) m_oldIni = old;
}

OdbcEntries::OdbcEntries(OdbcEntries&& other) noexcept
    : m_folder(std::exchange(other.m_folder, {})), m_dsn(std::move(other.m_dsn)), m_oldIni(std::move(other.m_oldIni)) {}

OdbcEntries::~OdbcEntries() {
  if (m_folder.empty()) return;
  m_oldIni ? setenv("ODBCINI", m_oldIni->c_str(), 1) : unsetenv("ODBCINI");
  unlink((m_folder + kIniName).c_str());
  unlink((m_folder + kLinkName).c_str());
  rmdir(m_folder.c_str());
  if (m_folder == g_folder.data()) g_armed = false;  // last: a signal on the way finds nothing, or what is left
}

OdbcEntries OdbcEntries::forFile(const std::string& path) {
  OdbcEntries entries;
  const std::string link = entries.m_folder + kLinkName;
  if (symlink(fs::weakly_canonical(fs::absolute(path)).c_str(), link.c_str()) != 0)
    throwInputOutput("the link '" + link + "'");
  entries.write("Driver=SQLite3\nDatabase=" + link + "\nNoCreat=1\nFKSupport=1\nTimeout=5000\n" + kStreamSqlite);
  return entries;
}

OdbcEntries OdbcEntries::forDsn(const std::string& dsn) {
  const std::string settings = copiedSettings(dsn);
  if (settings.empty()) {
    throw HostError(ErrorKind::kUnreachable,
                    "unknown data source '" + dsn + "'; add it to odbc.ini, or name one that 'odbcinst -q -s' lists");
  }
  OdbcEntries entries;
  entries.write(settings);
  return entries;
}

void OdbcEntries::write(const std::string& settings) {
  const std::string ini = m_folder + kIniName;
  const std::string text = "[" + m_dsn + "]\n" + settings;
  const int file = open(ini.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file < 0) throwInputOutput("'" + ini + "'");
  errno = ENOSPC;  // what a write that comes out short does not say
  const bool whole = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  if (close(file) != 0 || !whole) throwInputOutput("'" + ini + "'");
  setenv("ODBCINI", ini.c_str(), 1);
}

void OdbcEntries::removeNow() noexcept {
  if (!g_armed.exchange(false)) return;
  unlink(g_ini.data());
  unlink(g_link.data());
  rmdir(g_folder.data());
}

}  // namespace zrhost
