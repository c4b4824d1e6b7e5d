#pragma once

#include <cstdint>
#include <string>

#include "host/policyfile/PlacedRowSink.h"
#include "host/policyfile/PolicyFileReader.h"

namespace zrhost {

// Where the rows of an import come from, as often as they are asked for.
class ImportSource {
 public:
  virtual ~ImportSource() = default;

  // Pushes every row and fault into `sink`, at each call the same ones in the same order. A row of a database has a
  // place without a file, whose line is its number. Throws HostError, and what the sink throws.
  virtual void read(PlacedRowSink& sink) = 0;

  // As messages name it.
  virtual std::string name() const = 0;

  // Of a policy file; the path is empty for standard input.
  virtual std::string path() const { return {}; }
  virtual PolicyFileShape shape() const { return {}; }
  virtual std::uint64_t bytesRead() const { return 0; }
  virtual std::uint64_t bytesInAll() const { return 0; }  // 0 when it is not known
};

}  // namespace zrhost
