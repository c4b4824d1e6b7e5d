#pragma once

#include <string>
#include <vector>

#include "host/settings/Settings.h"
#include "live/LiveOptions.h"

namespace zrservice {

// The settings of the service; `configFile` is that of --config. Throws HostError as zrhost::Settings does, and
// kInputOutput when there is no file at all.
zrhost::Settings readSettings(const std::string& configFile);

// Before anything is done: throws HostError for what settings say that cannot be served by, with the file that it is
// in.
void requireService(const zrhost::Settings& settings);

zrlive::LiveOptions liveOptions(const zrhost::Settings& settings);

// The names of settings that a running service cannot change, and that differ.
std::vector<std::string> restartNeeded(const zrhost::Settings& now, const zrhost::Settings& next);

// A line on standard error, as zrhost::takesLine lets it.
void say(const std::string& text);

// Says what in the settings is unknown, and what sayOfStrangers does.
void sayWarnings(const zrhost::Settings& settings);

// Says which attributes that are taken for an identity anybody can write.
void sayOfStrangers(const zrhost::Settings& settings);

}  // namespace zrservice
