#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace zrhost {

// Takes the byte-order mark off the first line of a text, as editors of some systems put it there.
void dropByteOrderMark(std::string& line);

// Calls `use` with each line of a text file, without its line feed and a carriage return in front of that, the first
// one without a byte-order mark, and its number from 1. Throws HostError kNoInput (there is no such file) or
// kInputOutput, and what `use` throws.
void forEachLine(const std::string& path,
                 const std::function<void(const std::string& line, std::uint64_t number)>& use);

// Collects what is wrong with the lines of a file, so that all such lines can be counted.
class LineFaults {
 public:
  explicit LineFaults(std::string path) : m_path(std::move(path)) {}

  // Runs the reading of one line and notes when it throws HostError kUsage.
  void gather(std::uint64_t line, const std::function<void()>& read);
  // HostError kBadRow with the first such line and their number.
  void throwIfAny() const;

 private:
  std::string m_path;
  std::string m_first;
  std::uint64_t m_count = 0;
};

}  // namespace zrhost
