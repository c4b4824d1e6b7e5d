#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds `zrpolicy copy` to the program's commands. `context` must outlive `program`.
void addCopyCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
