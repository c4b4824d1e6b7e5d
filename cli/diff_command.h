#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds `zrpolicy diff` to the program's commands. `context` must outlive `program`.
void addDiffCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
