#include <clocale>
#include <csignal>

#include "cli/command_line.h"
#include "cli/standard_streams.h"

int main(int argc, char** argv) {
  zrcli::secureStandardDescriptors();
  std::setlocale(LC_ALL, "C");    // what is a capital letter does not depend on who asks
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error of the write
  std::signal(SIGXFSZ, SIG_IGN);  // and so is a file that may not grow further
  return zrcli::runCommandLine(argc, argv);
}
