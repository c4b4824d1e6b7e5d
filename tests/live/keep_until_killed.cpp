// keep_until_killed DATABASE STATE-FOLDER SQL-FOLDER: keeps every state of a database as the last good one.
#include <unistd.h>

#include "live/LivePolicies.h"

int main(int, char** argv) {
  zrlive::LivePolicies::setSinkLevel(zrlive::LogLevel::kError);
  zrlive::LiveOptions options;
  options.databaseFile = argv[1];
  options.stateFolder = argv[2];
  options.sqlDirectory = argv[3];
  options.poll = std::chrono::milliseconds(1);
  options.reloadInterval = options.keepInterval = std::chrono::milliseconds(0);
  zrlive::LivePolicies policies(options);
  policies.start();
  pause();
}
