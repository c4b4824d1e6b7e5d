#ifndef ZR_LIVE_LIVEOPTIONS_H
#define ZR_LIVE_LIVEOPTIONS_H

#include <chrono>
#include <functional>
#include <string>

namespace zrlive {

enum class LogLevel { kError = 1, kWarning = 2, kInfo = 3, kTrace = 4 };

// How policies are kept current. The defaults fit a mail server; exactly one of databaseFile and dataSource is given.
// No time may be above ten years.
struct LiveOptions {
  using Milliseconds = std::chrono::milliseconds;

  std::string databaseFile;  // an SQLite policy database
  std::string dataSource;    // an ODBC data source, by its name in odbc.ini
  std::string user;          // for the data source; empty: whatever the data source says
  std::string password;      // never shown; see LivePolicies::setSinkLevel
  // The statement files (a folder for each kind of database); empty: share/zrpolicy/sql of the installation that the
  // library lies in.
  std::string sqlDirectory;

  Milliseconds connectTimeout{5000};  // for one attempt to connect; the driver takes whole seconds, rounded up
  Milliseconds readTimeout{60000};    // a loader that hears nothing for so long is given up
  Milliseconds poll{1000};            // between two looks at the revision, give or take a tenth
  Milliseconds reloadInterval{1000};  // at least, between the ends of two loads
  Milliseconds firstPause{1000};      // after a failure; doubled with each further one ...
  Milliseconds longestPause{60000};   // ... up to this

  // Where the last good state is kept; the folder must be there. Empty: nothing is kept, and a start without a database
  // has nothing to answer from.
  std::string stateFolder;
  Milliseconds keepInterval{60000};  // at least, between two writings of the last good state
  // How long the database has at the start before the last good state is answered from. One that fails outright, or
  // says that the last good state is its own, does not have to wait for that.
  Milliseconds coldStartWait{4000};

  Milliseconds maxAge{0};  // the age from which the policies are stale; 0: they never are

  // The threads that load and write are made less urgent by so much (nice(2)), so that they never delay an answer where
  // processors are short. Once there are answers, they run only while nothing else wants the processor (SCHED_IDLE),
  // and end that when they had to wait for too long. Where the process may not end it (that takes a privilege, or an
  // RLIMIT_NICE of at least 20 - nice), only loads do so, and begin anew instead.
  int nice = 10;

  // Takes what the library has to tell, one line without a line break at a time, from threads of its own, one at a
  // time. It must not throw, nor call the object that it belongs to. Empty: the log sink of libzrpolicy.so gets it.
  std::function<void(LogLevel, const std::string& line)> log;
};

}  // namespace zrlive

#endif  // ZR_LIVE_LIVEOPTIONS_H
