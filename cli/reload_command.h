#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds "zrpolicy reload". The context must outlive the program.
void addReloadCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
