#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/base/FileDescriptor.h"

namespace zrservice {

// A file that whole lines are appended to; "stderr" is standard error. Threads: one at a time.
class LogFile {
 public:
  explicit LogFile(std::string path) : m_path(std::move(path)) {}
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  // Opens the file of that name, the first time or anew; without success (errno says why) things stay as they were. A
  // pipe that nobody reads is not waited for.
  bool open();
  // From how many bytes on lines are to be written. What others may write to as well gets one line at a time, or theirs
  // would get in between.
  std::size_t chunk() const { return m_isRegular ? std::size_t{64} << 10U : 0; }
  // Writes lines, each ended by a line feed; answers how many are in the file whole. Those that are not are lost (errno
  // says why). A line that was cut off is ended before the next one.
  std::size_t write(std::string_view lines);

 private:
  std::size_t writeBytes(std::string_view text);

  std::string m_path;
  zrhost::FileDescriptor m_file;
  bool m_isRegular = false;
  bool m_isCutOff = false;
};

}  // namespace zrservice
