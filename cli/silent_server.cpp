#include "cli/silent_server.h"

#include <unistd.h>

#include "cli/exit_status.h"
#include "cli/standard_streams.h"

namespace zrcli {

void endForSilence(const std::string& text) {
  printError(text);
  _exit(exitStatus(zrhost::ErrorKind::kUnreachable));  // no destructors: a thread is still inside the driver
}

}  // namespace zrcli
