#pragma once

#include <functional>
#include <string_view>

namespace zrhost {

// How a comparison is shown, and where its pieces go.
struct DiffFormat {
  bool isJson = false;       // one document on one line; text for people otherwise
  bool onlySummary = false;  // the numbers alone
  std::function<void(std::string_view)> write{};
};

}  // namespace zrhost
