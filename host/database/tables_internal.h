#pragma once

#include <string>
#include <vector>

#include "host/database/PolicyDatabase.h"
#include "host/database/session_internal.h"

namespace zrhost {

// Holds, on PostgreSQL, which transactions have changed something; always empty between them.
inline constexpr const char* kChangeTable = "policy_change";

// A table (or a view, or whatever has the name) of the policy database that is there. The name is as the database has
// it; two that differ in case only are the same on SQLite.
struct TableThere {
  std::string name;
  bool isTable;
};
std::vector<TableThere> tablesThere(Session& session);
bool isAmong(const std::vector<TableThere>& tables, const char* name);

// The tables that are there of those names, in the order in which they can be dropped, with their rows.
std::vector<TableCount> countTables(Session& session, const std::vector<TableThere>& tables);

// The statement files of a folder below that of the database's kind (or of a path that ends in '/'), in the order of
// their names. Throws kInputOutput when there are none.
std::vector<std::string> statementFiles(Session& session, const std::string& folder);

// Runs every statement file of a folder below that of the database's kind (or of a path that ends in '/'), in the order
// of their names. Their one value is the schema that the tables are in. A file that the database refuses is at fault
// itself, whatever a reader would make of the refusal: kInputOutput.
void runFolder(Session& session, const std::string& folder, const std::string& schema);

// The schema that new tables go to, quoted. Throws kUnreachable when the user may make none there.
std::string schemaForTables(Session& session);

// Who owns the tables, and who may do what with them, as statements that make it so for tables made anew. A table that
// was not there takes after the one that it belongs to: group_member after ep_link, policy_change and the functions
// after policy_revision. SQLite has no such rights.
struct Right {
  std::string table;
  std::string statement;
};
std::vector<Right> rightsOf(Session& session);
void giveRights(Session& session, const std::vector<Right>& rights);

}  // namespace zrhost
