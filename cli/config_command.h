#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds `zrpolicy config` with its own commands show, get, check, set and unset to the program's commands. `context`
// must outlive `program`.
void addConfigCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
