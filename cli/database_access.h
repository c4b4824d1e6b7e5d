#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "cli/command_context.h"
#include "host/database/PolicyDatabase.h"
#include "host/load/Snapshot.h"

namespace zrcli {

// The data source that options, environment and configuration file name, and the log level that they set, which takes
// effect here. Unknown names in the file are warned of on standard error. Throws HostError.
zrhost::DatabaseOptions databaseOptions(const CommandContext& context);

// The log level that they set takes effect, and the warnings are given: once, for a command that takes several
// databases.
void applySettings(const CommandContext& context);

// The database or data source of that name in place of the one that they name, with the rest of what they say.
struct DatabaseName {
  std::string file;
  std::string dsn;
};
zrhost::DatabaseOptions databaseOptions(const CommandContext& context, const DatabaseName& name);

// Gathers what a load left out for one warning on standard error, since the answers may lack it.
class RefusalWarning {
 public:
  // `prefix` stands in front of the warning's text.
  explicit RefusalWarning(std::string prefix = {}) : m_prefix(std::move(prefix)) {}
  // For LoadOptions::onRefused, while this object lives.
  std::function<void(const zrhost::RefusedRow&)> note();
  void show(const zrhost::LoadReport& report) const;

 private:
  std::string m_prefix;
  std::string m_first;
};

// Loads the policy database of the command line; throws HostError.
std::shared_ptr<const zrhost::Snapshot> loadPolicies(const CommandContext& context, zrhost::LoadOptions options);

// The same for questions: warns on standard error of rows that were left out, and with `withGroups` of a database that
// knows no members, since an answer may lack what they say.
std::shared_ptr<const zrhost::Snapshot> loadToAsk(const CommandContext& context, bool withGroups,
                                                  zrhost::LoadOptions options = {});

}  // namespace zrcli
