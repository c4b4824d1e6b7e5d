// What it costs to bring a million links into an empty policy database, against the database's own tool (`.import` of
// sqlite3, `COPY` of psql) and the same rows, tables and indexes. The tool is timed twice: into tables without the
// triggers that raise the revision, which is the stricter measure, and into the tables as they are. Then the same rows
// once more, which change nothing, and the same from a file, as an import has it, with and without the links' IDs. Then
// all of it out again, against the tool's own way (`.dump`, `COPY`). Also the peaks of this program's resident memory.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include "bench/bench_run.h"
#include "common/odbc_entries.h"
#include "common/postgres_server.h"
#include "host/database/PolicyDatabase.h"
#include "host/database/PolicyWriter.h"
#include "host/import/Import.h"
#include "host/import/PolicyFileInput.h"
#include "host/policyfile/PolicyFileWriter.h"

namespace {

constexpr int kPolicies = 50;

// A database, and how its own tool runs a script.
struct Place {
  zrhost::DatabaseOptions options;
  std::function<void(const std::string& script)> run;
  std::string dropTriggers;
  std::string import;      // the tool's script that brings the rows in
  std::string policyFile;  // the same rows for an import
  std::string unnumbered;  // and without their IDs
  std::string dump;        // the tool's script that takes them out
  std::string exported;    // where an export goes
};

zrhost::LinkRow linkOf(std::int64_t i) {
  return {std::to_string(1000 + i), "1", "user" + std::to_string(i) + "@example.org", std::to_string(1 + i % kPolicies),
          std::to_string(i % 1000)};
}

void writeCsv(const std::string& path, std::int64_t links, const char* header = "") {
  std::ofstream csv(path);
  csv << header;
  for (std::int64_t i = 0; i < links; ++i) {
    const zrhost::LinkRow link = linkOf(i);
    csv << *link.linkId << ',' << *link.entityType << ',' << *link.entityName << ',' << *link.policyId << ','
        << *link.priority << '\n';
  }
}

std::string policiesAsSql() {
  std::string sql = "INSERT INTO policy (policy_id, policy_type, policy_name, is_default) VALUES (1, 1, 'p', 0)";
  for (int i = 2; i <= kPolicies; ++i)
    sql += ", (" + std::to_string(i) + ", 1, 'p', 0)";
  return sql + ";\n";
}

void empty(const Place& place, bool withTriggers) {
  zrhost::PolicyDatabase::init(place.options, {.sample = false, .force = true});
  place.run(policiesAsSql() + (withTriggers ? "" : place.dropTriggers));
}

zrhost::Changes writeRows(const Place& place, std::int64_t links) {
  zrhost::PolicyWriter writer(place.options);
  for (std::int64_t i = 0; i < links; ++i)
    writer.stage(static_cast<std::uint64_t>(i + 1), linkOf(i));
  writer.rejectFaults(zrhost::WriteMode::kMerge, [](const zrhost::StagedFault&) { std::abort(); });
  const zrhost::Changes changes = writer.apply(zrhost::WriteMode::kMerge);
  writer.commit();
  return changes;
}

void writePolicyFiles(Place& place, const zrtest::TempFolder& folder, std::int64_t links) {
  place.policyFile = folder.file("ep_link.csv");
  writeCsv(place.policyFile, links, "link_id,entity_type,entity_name,policy_id,priority\n");
  place.unnumbered = folder.file("unnumbered.csv");
  std::ofstream csv(place.unnumbered);
  csv << "entity_type,entity_name,policy_id,priority\n";
  for (std::int64_t i = 0; i < links; ++i) {
    const zrhost::LinkRow link = linkOf(i);
    csv << *link.entityType << ',' << *link.entityName << ',' << *link.policyId << ',' << *link.priority << '\n';
  }
}

void importFile(const Place& place, const std::string& file) {
  zrhost::PolicyFileInput input(file);
  if (zrhost::importRows(input, place.options, {}).rejected != 0) std::abort();
}

void exportFile(const Place& place, zrhost::PolicyFileFormat format) {
  zrhost::PolicyDatabase database(place.options);
  const auto writer =
      zrhost::makePolicyFileWriter(place.exported + (format == zrhost::PolicyFileFormat::kCsv ? "" : ".jsonl"), format);
  database.readByKey(*writer);
  writer->commit();
}

void measure(benchmark::State& state, const Place& place) {
  const std::int64_t links = state.range(0);
  double bare = 0, tool = 0, first = 0, again = 0, peak = 0, imported = 0, importPeak = 0;
  double unnumbered = 0, dump = 0, jsonLines = 0, csv = 0, exportPeak = 0;
  while (state.KeepRunning()) {
    empty(place, false);
    bare += zrbench::secondsFor([&] { place.run(place.import); });
    empty(place, true);
    tool += zrbench::secondsFor([&] { place.run(place.import); });
    empty(place, true);
    zrbench::forgetPeak();
    const double before = zrbench::memory("VmRSS");
    first += zrbench::secondsFor([&] { writeRows(place, links); });
    again += zrbench::secondsFor([&] { writeRows(place, links); });
    peak = zrbench::memory("VmHWM") - before;
    empty(place, true);
    zrbench::forgetPeak();
    unnumbered += zrbench::secondsFor([&] { importFile(place, place.unnumbered); });
    empty(place, true);
    imported += zrbench::secondsFor([&] { importFile(place, place.policyFile); });
    importPeak = zrbench::memory("VmHWM");
    zrbench::forgetPeak();
    dump += zrbench::secondsFor([&] { place.run(place.dump); });
    jsonLines += zrbench::secondsFor([&] { exportFile(place, zrhost::PolicyFileFormat::kJsonLines); });
    csv += zrbench::secondsFor([&] { exportFile(place, zrhost::PolicyFileFormat::kCsv); });
    exportPeak = zrbench::memory("VmHWM");
  }
  const auto times = static_cast<double>(state.iterations());
  state.counters["tool_s"] = bare / times;
  state.counters["writing_s"] = first / times;
  state.counters["writing/tool"] = first / bare;
  state.counters["writing/tool_with_triggers"] = first / tool;
  state.counters["again/tool"] = again / bare;
  state.counters["peak_MiB"] = peak / 1024;
  state.counters["importing/tool"] = imported / bare;
  state.counters["importing/tool_with_triggers"] = imported / tool;
  state.counters["importing_peak_MiB"] = importPeak / 1024;  // of the whole program
  state.counters["importing_unnumbered/tool"] = unnumbered / bare;
  state.counters["exporting/tool"] = jsonLines / dump;
  state.counters["exporting_csv/tool"] = csv / dump;
  state.counters["exporting_peak_MiB"] = exportPeak / 1024;
}

void writeToSqlite(benchmark::State& state) {
  const zrtest::TempFolder folder;
  Place place;
  place.options.file = folder.file("policies.db");
  writeCsv(folder.file("links.csv"), state.range(0));
  writePolicyFiles(place, folder, state.range(0));
  place.run = [&](const std::string& script) {
    zrtest::outputOf("sqlite3 -bail '" + place.options.file + "' < '" + folder.write("script.sql", script) + "'");
  };
  for (const char* table : {"policy", "policy_rule", "ep_link", "group_member"})
    for (const char* change : {"insert", "update", "delete"})
      place.dropTriggers += std::string("DROP TRIGGER ") + table + "_" + change + ";\n";
  place.import = ".mode csv\n.import '" + folder.file("links.csv") + "' ep_link\n";
  place.dump = ".output '" + folder.file("dump.sql") + "'\n.dump\n";
  place.exported = folder.file("exported");
  std::ofstream(place.options.file).close();
  measure(state, place);
}
BENCHMARK(writeToSqlite)->Arg(10000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kSecond);

void writeToPostgres(benchmark::State& state) {
  zrtest::PostgresServer& server = zrtest::PostgresServer::shared();
  const zrtest::TempFolder folder;
  zrtest::OdbcEntries entries;
  Place place;
  const std::string database = server.createDatabase();
  place.options.dsn = database;
  place.options.user = zrtest::PostgresServer::kUser;
  entries.addPostgres(database, server.socketFolder(), database);
  writeCsv(folder.file("links.csv"), state.range(0));
  writePolicyFiles(place, folder, state.range(0));
  place.run = [&](const std::string& script) { server.run(database, script); };
  for (const char* table : {"policy", "policy_rule", "ep_link", "group_member"})
    place.dropTriggers += std::string("ALTER TABLE ") + table + " DISABLE TRIGGER USER;\n";
  place.import = "\\copy ep_link from '" + folder.file("links.csv") + "' with (format csv)\n";
  place.dump =
      "\\copy (SELECT * FROM ep_link ORDER BY link_id) to '" + folder.file("dump.csv") + "' with (format csv)\n";
  place.exported = folder.file("exported");
  measure(state, place);
}
BENCHMARK(writeToPostgres)->Arg(10000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  return zrbench::run(argc, argv);
}
