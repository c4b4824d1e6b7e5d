#pragma once

#include <optional>
#include <string>

#include "host/base/DatabaseOptions.h"
#include "host/database/odbc_entry_internal.h"
#include "host/database/sqlite_file_internal.h"

namespace zrhost {

// What a database is opened for: reading or writing its rows, changing or making its tables. Only making may create a
// file; only reading gets along with a data source that forbids writing.
enum class Access { kRead, kWrite, kChange, kMake };

// What to hand to the driver for a database of the options: an SQLite file, for which nothing needs to be configured,
// or a data source of the administrator's, whose settings are copied. On the way
//   streaming is asked for, where the data source says nothing about it and its driver is one of PostgreSQL or SQLite
//   a lock on an SQLite file is waited for by the program, which knows for how long in all, and not at connecting
//   the program's time to connect holds, and no other in the data source's `pqopt`, which the driver would refuse
//   a password of the data source's goes to the driver at connecting, and not into the entry
class DataSource {
 public:
  // `file`, unless it is empty, is opened in place of the file of the options. Throws HostError kUnreachable for an
  // unknown data source, and as SqliteFile and OdbcEntry do.
  DataSource(const DatabaseOptions& options, const std::string& file, Access access);

  const std::string& name() const { return m_entry->name(); }
  const std::string& password() const { return m_password; }

  bool isSqlite() const { return m_sqlite; }
  // The SQLite file, where there is one and its path is known; null otherwise.
  const SqliteFile* sqliteFile() const { return m_file ? &*m_file : nullptr; }
  // The milliseconds that a lock on an SQLite file is waited for in all.
  int lockWait() const { return m_lockWait; }

  // For a file that SQLite has refused to open: makes it one that is read without locks, under a new name, when that is
  // safe; false when it is not. Throws as SqliteFile::mayReadUnlocked does.
  bool readUnlocked();

 private:
  void openFile(const DatabaseOptions& options, const std::string& file);
  void openDsn(const DatabaseOptions& options, Access access);
  void publish();

  std::string m_settings;  // of the entry, but for the file
  std::string m_password;
  int m_lockWait = 5000;
  bool m_sqlite = false;
  std::optional<SqliteFile> m_file;
  std::optional<OdbcEntry> m_entry;
};

}  // namespace zrhost
