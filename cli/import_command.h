#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// Adds `zrpolicy import` to the program's commands. `context` must outlive `program`.
void addImportCommand(CLI::App& program, CommandContext& context);

}  // namespace zrcli
