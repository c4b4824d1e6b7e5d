#include "common/odbc_entries.h"

#include <cstdlib>
#include <dlfcn.h>

namespace zrtest {

OdbcEntries::OdbcEntries() {
  keepOdbcDriversLoaded();
  m_folder.write("odbc.ini", "");
  setenv("ODBCINI", m_folder.file("odbc.ini").c_str(), 1);
}

OdbcEntries::~OdbcEntries() {
  unsetenv("ODBCINI");
}

void OdbcEntries::add(const std::string& dsn, const std::string& settings) {
  m_text += "[" + dsn + "]\n" + settings + "\n";
  m_folder.write("odbc.ini", m_text);
}

std::string OdbcEntries::addSqlite(const std::string& dsn, const std::string& path, const std::string& more) {
  std::string database = path.empty() ? m_folder.file(dsn + ".db") : path;
  add(dsn, "Driver=" ZR_ODBC_DRIVER_FOLDER "/libsqlite3odbc.so\nDatabase=" + database + "\nTimeout=2000\n" + more);
  return database;
}

void OdbcEntries::addPostgres(const std::string& dsn, const std::string& socketFolder, const std::string& database,
                              const std::string& driver, const std::string& more) {
  add(dsn, "Driver=" + driver + "\nServername=" + socketFolder + "\nPort=5432\nDatabase=" + database + "\n" + more);
}

std::string OdbcEntries::freshName() {
  static int count = 0;
  return "source" + std::to_string(++count);
}

void keepOdbcDriversLoaded() {
  for (const char* driver : {"libsqlite3odbc.so", "psqlodbcw.so", "psqlodbca.so"}) {
    dlopen((std::string(ZR_ODBC_DRIVER_FOLDER "/") + driver).c_str(), RTLD_NOW | RTLD_NODELETE);
  }
}

}  // namespace zrtest
