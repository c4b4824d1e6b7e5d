#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds `zrpolicy help` to the program's commands. `program` and `context` must outlive the run.
void addHelpCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
