#pragma once

#include <CLI/CLI.hpp>

#include "host/import/Import.h"

namespace zrcli {

// Adds what import and copy have in common: --dry-run, --allow-drop and --json.
void addImportOptions(CLI::App& command, zrhost::ImportOptions& options, bool& json);

// Brings the rows of a source into a database, shows how far it has come on a terminal, lists rejected rows on standard
// error, and prints what was done: a table, or one JSON document. Returns the exit status; throws as importRows does.
int importAndReport(zrhost::ImportSource& source, const zrhost::DatabaseOptions& target, zrhost::ImportOptions options,
                    bool json);

}  // namespace zrcli
