#pragma once

#include <functional>

#include "host/settings/Settings.h"

namespace zrcli {

// What the command line said, as far as more than one subcommand needs it. Filled while the command line is read;
// read-only from then on.
struct CommandContext {
  // --config and the settings that options give.
  zrhost::SettingsRequest settings;

  // --strict: the first row that cannot be used ends the load.
  bool strict = false;

  // What the chosen subcommand does; answers the exit status of the process. Failures are thrown as
  // zrhost::HostError. Set by the subcommand's callback, called once the whole command line has been read.
  std::function<int()> run;
};

}  // namespace zrcli
