#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "host/policyfile/PlacedRowSink.h"
#include "host/rows/RowPlace.h"
#include "host/rows/RowSource.h"

namespace zrhost {

class HeldRows;

// A policy file as a source of rows, for all that takes the rows of a database: loading, checking, comparing.
//
// The rows are read as a whole, held in some 50 bytes each beside their texts, sorted, and pushed in the order that
// RowSink promises; rows of equal keys keep the order of the file. A link without link_id gets the next free ID: above
// the largest of the file, then the smallest free one above 0. The revision is an empty one, since a file has none.
class PolicyFileSource : public RowSource {
 public:
  // `onFault` is called for each line that is no row, in the order of the file; it may be empty.
  explicit PolicyFileSource(std::string path, std::function<void(const RowFault&)> onFault = {});

  // Throws what PolicyFileReader throws and, when lines are no rows, HostError kBadRow with their number (without an
  // onFault with the first of them, too), before any row is pushed. Standard input can be read once. Values are not
  // judged: a row whose values no table takes is pushed as it stands.
  Revision read(RowSink& sink) override;

  // The same, with the links in ascending link_id, as PolicyDatabase::readByKey has them; but values are judged: a row
  // that no table takes is as bad as a line that is no row.
  Revision readByKey(RowSink& sink);

  // Where the row that is being pushed stands; the object stays the same for the life of the source.
  const RowPlace& place() const { return m_place; }

 private:
  std::string textOf(std::uint64_t faults, const std::string& first) const;
  Revision readInto(RowSink& sink, bool judgeValues, void (HeldRows::*push)(RowSink&, RowPlace&));

  std::string m_path;
  std::function<void(const RowFault&)> m_onFault;
  RowPlace m_place;
};

}  // namespace zrhost
