#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/odbc_entries.h"
#include "common/postgres_server.h"
#include "common/temp_folder.h"
#include "host/database/PolicyDatabase.h"
#include "host/load/Snapshot.h"

namespace zrtest {

using zrhost::ErrorKind;

// A place for a policy database of one kind, and a way to change it that is not the code tested.
class Place {
 public:
  virtual ~Place() = default;
  virtual zrhost::DatabaseOptions options() const = 0;
  // Runs statements as the administrator would and answers what they print.
  virtual std::string run(const std::string& sql) const = 0;
};

std::unique_ptr<Place> makeSqlitePlace();
std::unique_ptr<Place> makePostgresPlace();

// The tests that hold for every kind of database.
class EveryDatabase : public testing::TestWithParam<const char*> {
 protected:
  EveryDatabase() : place(std::string(GetParam()) == "SQLite" ? makeSqlitePlace() : makePostgresPlace()) {}
  void init(bool sample = false, bool force = false) {
    zrhost::PolicyDatabase::init(place->options(), {sample, force});
  }
  // Tables of the same names and columns without a rule of any kind.
  void makeLooseTables();
  std::shared_ptr<const zrhost::Snapshot> load(const zrhost::LoadOptions& options = {});

  std::unique_ptr<Place> place;
};

// The kind and the text of the HostError that `action` ends with; no kind without one.
struct Failure {
  std::optional<zrhost::ErrorKind> kind{};
  std::string text;
};
template <typename Action>
Failure failureOf(Action action) {
  try {
    action();
    return {};
  } catch (const zrhost::HostError& error) {
    return {error.kind(), error.what()};
  }
}

}  // namespace zrtest
