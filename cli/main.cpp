#include <clocale>
#include <csignal>

#include "cli/command_line.h"
#include "cli/standard_streams.h"
#include "host/database/OdbcEntries.h"

namespace {

extern "C" void removeEntriesAndDie(int signal) {
  zrhost::OdbcEntries::removeNow();
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // delivered when this handler returns: whoever started the command sees why it ended
}

// A signal that was ignored when the command was started stays ignored (nohup).
void handle(int signal) {
  if (std::signal(signal, removeEntriesAndDie) == SIG_IGN) std::signal(signal, SIG_IGN);
}

}  // namespace

int main(int argc, char** argv) {
  zrcli::secureStandardDescriptors();
  std::setlocale(LC_ALL, "C");    // what is a capital letter does not depend on who asks
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error of the write
  std::signal(SIGXFSZ, SIG_IGN);  // and so is a file that may not grow further
  for (const int signal : {SIGHUP, SIGINT, SIGTERM})
    handle(signal);
  return zrcli::runCommandLine(argc, argv);
}
