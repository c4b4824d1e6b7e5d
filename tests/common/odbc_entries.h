#pragma once

#include <string>

#include "common/temp_folder.h"

namespace zrtest {

// Data sources of this test process only: a private odbc.ini that ODBCINI names while the object lives.
//
// The driver manager remembers for some seconds what it read of a source, by the source's name alone: tests that follow
// one another in a process need names of their own (see freshName).
class OdbcEntries {
 public:
  OdbcEntries();
  ~OdbcEntries();
  OdbcEntries(const OdbcEntries&) = delete;
  OdbcEntries& operator=(const OdbcEntries&) = delete;

  // Adds a data source: `settings` are its "Name=Value" lines.
  void add(const std::string& dsn, const std::string& settings);
  // An SQLite file as data source; the folder of this object holds it unless `path` says otherwise. Returns the path.
  std::string addSqlite(const std::string& dsn, const std::string& path = {}, const std::string& more = {});
  // A PostgreSQL server that listens on a Unix socket in `socketFolder`. `driver` is as registered.
  void addPostgres(const std::string& dsn, const std::string& socketFolder, const std::string& database,
                   const std::string& driver = "PostgreSQL Unicode", const std::string& more = {});
  // A name for a data source that no other test of this process uses.
  static std::string freshName();
  const TempFolder& folder() const { return m_folder; }

 private:
  TempFolder m_folder;
  std::string m_text;
};

// Keeps the drivers in the process once they are loaded, so that the leak checker can name what they allocate.
void keepOdbcDriversLoaded();

}  // namespace zrtest
