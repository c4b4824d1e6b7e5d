#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/base/FileDescriptor.h"
#include "host/database/PolicyWriter.h"

namespace zrhost {

// The faults that a writer found, in the order of their numbers: kept on the disk, since there may be as many as rows.
class StagedFaults {
 public:
  void add(const StagedFault& fault);
  std::uint64_t size() const { return m_size; }

  // Goes back to the first one.
  void rewind();
  // The fault of the row of that number; nothing when it has none. Numbers have to rise from call to call.
  std::optional<StagedFault> faultOf(std::uint64_t number);

 private:
  bool fill();

  FileDescriptor m_file;  // none as long as the block holds all
  std::vector<StagedFault> m_block;
  std::size_t m_at = 0;
  std::uint64_t m_size = 0;
};

}  // namespace zrhost
