#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zrcli {

// Takes the places of descriptors 0 to 2 that the process was started without, so that no file or connection that is
// opened later gets one of these numbers and is written to as if it were standard output. Reading from or writing to
// such a place still fails. Called first of all.
void secureStandardDescriptors();

// Thrown by StandardOutput where nobody reads any more: the command has nothing left to do, and nothing to say.
struct ReaderGone {};

// Standard output, buffered by this object alone: nothing is lost in silence.
// Failures are thrown as HostError kInputOutput: a full disk, a closed descriptor. A pipe that nobody reads any more
// throws ReaderGone.
class StandardOutput {
 public:
  void write(std::string_view text);
  // Hands everything over to the system.
  void flush();
  // Flushes and closes the descriptor, which is when some file systems report what they could not store.
  void close();

 private:
  std::string m_buffer;
};

// All of the output of a command; answers the exit status of success.
int printAll(std::string_view text);

// Text on standard error as it stands. Never fails.
void writeError(std::string_view text) noexcept;

// One line on standard error: "zrpolicy: TEXT", the text made safe for a terminal. Never fails.
void printError(std::string_view text) noexcept;

// "zrpolicy: warning: TEXT" for each of them.
void printWarnings(const std::vector<std::string>& texts);

// Lines of standard input, of any length and bytes; a carriage return before the line feed belongs to the line's end,
// and the last line needs no end.
class LineReader {
 public:
  // `beforeWaiting` is called each time before the system is asked for more, which may block.
  explicit LineReader(std::function<void()> beforeWaiting) : m_beforeWaiting(std::move(beforeWaiting)) {}

  // Puts the next line without its end into `line`; false at the end of the input. Throws HostError kInputOutput.
  bool next(std::string& line);

 private:
  bool readMore();

  std::function<void()> m_beforeWaiting;
  std::string m_buffer;
  std::size_t m_start = 0;    // of the line in m_buffer
  std::size_t m_scanned = 0;  // up to here no line feed was found
};

}  // namespace zrcli
