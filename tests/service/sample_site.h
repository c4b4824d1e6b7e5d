#pragma once

#include <chrono>
#include <memory>

#include "common/temp_folder.h"
#include "host/database/PolicyDatabase.h"
#include "live/LivePolicies.h"

namespace zrtest {

// The sample site in a new file of the folder, as policies are made from it.
inline zrlive::LiveOptions sampleSite(const TempFolder& folder) {
  zrhost::DatabaseOptions database;
  database.file = folder.file("policies.db");
  database.sqlDirectory = ZR_TEST_SCHEMA;
  zrhost::PolicyDatabase::init(database, {.sample = true, .force = false});
  zrlive::LiveOptions options;
  options.databaseFile = database.file;
  options.sqlDirectory = database.sqlDirectory;
  return options;
}

// Policies that can be asked already.
inline std::unique_ptr<zrlive::LivePolicies> startedPolicies(const zrlive::LiveOptions& options) {
  auto policies = std::make_unique<zrlive::LivePolicies>(options);
  policies->start();
  policies->waitForSnapshot(std::chrono::minutes(1));
  return policies;
}

}  // namespace zrtest
