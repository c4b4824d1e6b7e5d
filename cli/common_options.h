#pragma once

#include <CLI/CLI.hpp>

#include "cli/command_context.h"

namespace zrcli {

// The options that name the configuration file and give single settings of it: data source, connection, statements,
// log. Their values end up in `context`, which must outlive `command`; what they mean is said once, where the settings
// are defined (host/settings).
void addSettingOptions(CLI::App& command, CommandContext& context);

// Only --config, which is one of them.
void addConfigOption(CLI::App& command, CommandContext& context);

// Refuses an empty value.
CLI::Validator nonEmpty();

// Adds --strict.
void addStrictOption(CLI::App& command, CommandContext& context);

}  // namespace zrcli
