#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/policyfile/row_stream_internal.h"
#include "host/rows/RowSink.h"

namespace zrhost {

// Rows as small as can be: numbers in a few bytes each, texts one behind the other, 16 bytes for the order.
class HeldRows {
 public:
  void add(PolicyTable table, std::span<Field* const> fields, const RowPlace& place);

  // Sorts the rows as RowSink wants them, or with the links in ascending link_id, and pushes them; `place` tells where
  // the one being pushed stands.
  void push(RowSink& sink, RowPlace& place);
  void pushByKey(RowSink& sink, RowPlace& place);

 private:
  // A row by its place in m_bytes, with its key as numbers (of a member none).
  struct Entry {
    std::int32_t first;
    std::int32_t second;
    std::uint64_t at;
  };

  void giveLinkIds();
  void pushInOrder(RowSink& sink, RowPlace& place);
  void sort(PolicyTable table);
  bool isBefore(PolicyTable table, const Entry& a, const Entry& b) const;
  void unpack(PolicyTable table, const Entry& entry, RowPlace& place);

  RowBuffer m_row;
  std::string m_bytes;
  std::array<std::vector<Entry>, kPolicyTables> m_entries;
  std::array<std::string, kPolicyTables> m_files;
  std::vector<std::size_t> m_withoutId;  // links, by their number
};

}  // namespace zrhost
