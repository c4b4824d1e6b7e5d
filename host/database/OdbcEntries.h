#pragma once

#include <optional>
#include <string>

namespace zrhost {

// The ODBC data source that the process connects to, in an odbc.ini of its own in a private temporary folder (mode
// 0700, under TMPDIR, else /tmp). Nothing needs to be configured for an SQLite file, and the drivers are asked to
// stream results instead of holding them whole.
//
// One object at a time: the driver manager finds the file through the environment variable ODBCINI, which is set while
// the object lives and put back afterwards. Create and destroy it while the process has a single thread.
//
// The folder is removed by the destructor. A process that ends on a signal calls removeNow from its handler.
class OdbcEntries {
 public:
  // A data source for an SQLite file, which is not created when it is missing and is given up after 5 seconds when it
  // is locked. Any path will do, however long or odd: it is reached through a symbolic link in the folder. Throws
  // HostError kInputOutput when the folder cannot be made.
  static OdbcEntries forFile(const std::string& path);

  // A data source of the administrator's: its settings are copied, and streaming is asked for where the driver is one
  // of PostgreSQL or SQLite (a setting that is there already wins). Throws HostError kUnreachable when there is no data
  // source of that name.
  static OdbcEntries forDsn(const std::string& dsn);

  OdbcEntries(OdbcEntries&& other) noexcept;
  OdbcEntries& operator=(OdbcEntries&&) = delete;
  ~OdbcEntries();

  // The name to connect to.
  const std::string& dsn() const { return m_dsn; }

  // Removes the folder of the living object, if there is one. Safe to call from a signal handler and more than once.
  static void removeNow() noexcept;

 private:
  OdbcEntries();
  void write(const std::string& settings);

  std::string m_folder;  // empty once moved from
  std::string m_dsn;
  std::optional<std::string> m_oldIni;
};

}  // namespace zrhost
