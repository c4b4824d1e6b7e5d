#include "host/database/tables_internal.h"

#include <algorithm>
#include <filesystem>
#include <strings.h>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

namespace fs = std::filesystem;

// What refers to others goes first.
constexpr const char* kTables[] = {"ep_link",      "policy_rule",     "policy",
                                   "group_member", "policy_revision", "policy_change"};

std::int64_t countRows(Session& session, const char* table) {
  session.run("count_rows.sql", table);
  session.next();
  return strictNumber(session.text("row_count"), 0, INT64_MAX).value_or(0);
}

void runFile(Session& session, const std::string& file, const std::string& schema) {
  try {
    session.run(file, schema.c_str());
  } catch (const HostError& error) {
    if (error.kind() != ErrorKind::kNotPolicyDatabase) throw;
    throw HostError(ErrorKind::kInputOutput,
                    oneLine("the SQL statement file '" + file + "' is refused: " + error.what()));
  }
}

}  // namespace

std::vector<TableThere> tablesThere(Session& session) {
  std::vector<TableThere> tables;
  session.run("list_tables.sql");
  while (session.next())
    tables.push_back({session.text("table_name"), session.text("table_kind") == "table"});
  return tables;
}

bool isAmong(const std::vector<TableThere>& tables, const char* name) {
  return std::any_of(tables.begin(), tables.end(),
                     [&](const TableThere& table) { return strcasecmp(table.name.c_str(), name) == 0; });
}

std::vector<TableCount> countTables(Session& session, const std::vector<TableThere>& tables) {
  std::vector<TableCount> counts;
  for (const char* table : kTables)
    if (isAmong(tables, table)) counts.push_back({table, countRows(session, table)});
  return counts;
}

std::vector<std::string> statementFiles(Session& session, const std::string& folder) {
  const std::string path = folder.back() == '/' ? folder : session.statements() + folder;
  std::vector<std::string> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(path, error))
    if (entry.path().extension() == ".sql") files.push_back(entry.path().string());
  if (files.empty()) {
    throw HostError(ErrorKind::kInputOutput, oneLine("there are no SQL statement files in '" + path + "'"));
  }
  std::sort(files.begin(), files.end());
  return files;
}

void runFolder(Session& session, const std::string& folder, const std::string& schema) {
  for (const std::string& file : statementFiles(session, folder))
    runFile(session, file, schema);
}

std::string schemaForTables(Session& session) {
  session.run("current_schema.sql");
  session.next();
  std::string schema = session.text("schema_name");
  const std::string user = session.text("user_name");
  if (session.text("may_create") == "1") return schema;
  const std::string why = schema.empty() ? "no schema of the user's search_path is there; name one in it"
                                         : "the user may not create tables in the schema " + schema +
                                               "; have its owner run: GRANT CREATE ON SCHEMA " + schema + " TO " + user;
  throw HostError(ErrorKind::kUnreachable,
                  oneLine("cannot make the tables in " + placeOf(session.options()) + ": " + why));
}

std::vector<Right> rightsOf(Session& session) {
  std::vector<Right> rights;
  if (session.isSqlite()) return rights;
  session.run("list_rights.sql");
  while (session.next())
    rights.push_back({session.text("table_name"), session.text("statement")});
  return rights;
}

void giveRights(Session& session, const std::vector<Right>& rights) {
  for (const Right& right : rights)
    session.run("run_text.sql", right.statement.c_str());
}

}  // namespace zrhost
