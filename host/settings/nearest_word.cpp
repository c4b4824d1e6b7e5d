#include "host/settings/nearest_word.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace zrhost {

namespace {

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The least number of changed, added and dropped characters (Levenshtein), one row of the table at a time.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (lower(from[i]) == lower(to[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string nearestWord(std::string_view wanted, const std::vector<std::string_view>& words) {
  return std::string(
      *std::ranges::min_element(words, {}, [wanted](std::string_view word) { return distance(wanted, word); }));
}

}  // namespace zrhost
