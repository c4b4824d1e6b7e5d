#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds "zrpolicy ask". The context must outlive the program.
void addAskCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
