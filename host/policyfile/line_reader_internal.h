#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/FileDescriptor.h"
#include "host/rows/RowPlace.h"

namespace zrhost {

// The lines of a file, of any bytes but of a bounded length. Skips a UTF-8 byte-order mark. Throws HostError with the
// file's name: kNoInput, kInputOutput, and kBadRow for a line of more than kMostLineBytes.
class LineReader {
 public:
  // "-" is standard input. With a descriptor the open file that it is of is read from its start.
  explicit LineReader(const std::string& path, int descriptor = -1);

  // Goes to the next line; false at the end.
  bool next();
  // The line without its end (a line feed, or a carriage return and a line feed). At least kPadding bytes behind it may
  // be read. Valid until the next call.
  std::string_view line() const { return m_line; }
  // The same with its end; the last line may have none.
  std::string_view lineWithEnd() const { return m_lineWithEnd; }
  // The file and the number of the line, from 1.
  const RowPlace& place() const { return m_place; }

  std::uint64_t bytesRead() const { return m_read; }
  std::uint64_t bytesInAll() const { return m_size; }

  static constexpr std::size_t kPadding = 64;

 private:
  bool readMore();
  void makeRoom();
  void skipByteOrderMark();

  FileDescriptor m_descriptor;
  RowPlace m_place;
  std::uint64_t m_size = 0;
  std::uint64_t m_read = 0;
  std::vector<char> m_buffer;
  std::size_t m_start = 0;  // of what was not handed out yet
  std::size_t m_end = 0;    // of what was read
  std::string_view m_line;
  std::string_view m_lineWithEnd;
};

// Ends the reading at a line, or a record that begins there, which is longer than any may be.
[[noreturn]] void failTooLong(const RowPlace& place);

}  // namespace zrhost
