#pragma once

#include <string>
#include <string_view>

namespace zrhost {

// While an object lives, the log says `shown` where the library says `inner`: the name that a program made up for a
// data source tells nobody anything. Any number at once, from any thread.
class LogAlias {
 public:
  LogAlias(std::string inner, std::string shown);
  ~LogAlias();
  LogAlias(const LogAlias&) = delete;
  LogAlias& operator=(const LogAlias&) = delete;

 private:
  std::string m_inner;
};

// A line of the library's as a program may show it: on one line, without what follows "m_pass=", with the names that
// users know.
std::string shownLogLine(std::string_view line);

}  // namespace zrhost
