#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds "zrpolicy status". The context must outlive the program.
void addStatusCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
