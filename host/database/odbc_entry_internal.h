#pragma once

#include <string>

namespace zrhost {

// One data source of this process, under a name of its own, for the driver manager and the drivers to find while the
// object lives. Nothing is on disk: the driver manager reads user data sources from the file that the environment
// variable ODBCINI names, and that is an anonymous memory file here (/proc/self/fd/N), which vanishes with the process
// however it ends. The user's own data sources stand in it too, as they were when the last object was made, but without
// passwords: whoever else connects in this process gives those to the driver. Programs that are started from this one
// inherit the variable, but no file of that number.
//
// Threads: objects are made and destroyed at any time, by any number of threads at once. The variable is set when the
// program is loaded, before any thread can be reading the environment, and then left alone. A program that sets it
// itself does so before it starts threads; the next object notices, and takes that file for the user's (userFile).
class OdbcEntry {
 public:
  // `settings` are "Name=Value" lines. No password belongs there: it is handed to the driver at connecting. Throws
  // HostError kInputOutput when there is no memory file to be had.
  explicit OdbcEntry(const std::string& settings);
  OdbcEntry(OdbcEntry&& other) noexcept : m_name(other.m_name) { other.m_name.clear(); }
  OdbcEntry& operator=(OdbcEntry&& other) noexcept {
    m_name.swap(other.m_name);
    return *this;
  }
  ~OdbcEntry();

  // The name to connect to. It is never used twice: the driver manager remembers for some seconds what it read of a
  // name.
  const std::string& name() const { return m_name; }

  // The file of the user's own data sources, absolute: what ODBCINI named before it was taken over, else .odbc.ini in
  // the user's home.
  static std::string userFile();

 private:
  std::string m_name;  // empty once moved from
};

}  // namespace zrhost
