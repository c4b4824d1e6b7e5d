#pragma once

#include <string>

#include "host/base/DatabaseOptions.h"
#include "host/database/PolicyDatabase.h"
#include "host/import/ImportSource.h"

namespace zrhost {

// A policy database whose rows go into another one. Rows that no table can hold, as hand-made tables may have them, are
// faults whose reason begins with table and key, and which have no place.
class DatabaseInput : public ImportSource {
 public:
  // Connects; throws what PolicyDatabase throws.
  explicit DatabaseInput(const DatabaseOptions& options);

  void read(PlacedRowSink& sink) override;
  std::string name() const override { return m_name; }

 private:
  std::string m_name;
  PolicyDatabase m_database;
};

}  // namespace zrhost
