#pragma once

#include <functional>
#include <map>
#include <string>

namespace zrcli {

// What the command line said, as far as more than one subcommand needs it. Filled while the command line is read;
// read-only from then on.
struct CommandContext {
  // The file of --config; empty when the option was not given.
  std::string configFile;

  // Settings that were given as options, by "section.name" as in the configuration file ("database.file",
  // "database.pool_size", "log.level", ...), the value as it was typed. They win over the file.
  std::map<std::string, std::string> given;

  // The option that gave a setting ("--pool-size"), by the same key, for messages.
  std::map<std::string, std::string> optionNames;

  // --strict: the first row that cannot be used ends the load.
  bool strict = false;

  // What the chosen subcommand does; answers the exit status of the process. Failures are thrown as
  // zrhost::HostError. Set by the subcommand's callback, called once the whole command line has been read.
  std::function<int()> run;
};

}  // namespace zrcli
