#pragma once

#include <string>

namespace zrtest {

// The text that `action` throws as const char* or char*; empty when it throws none.
template <typename Action>
std::string thrown(Action action) {
  try {
    action();
  } catch (const char* text) {
    return text;
  }
  return {};
}

}  // namespace zrtest
