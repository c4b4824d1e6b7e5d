#include "host/mend/name_mend.h"

#include <algorithm>

namespace zrhost {
namespace {

// The one name that lookups search with its capitals.
constexpr std::string_view kKeepsCapitals = "POP3_Mail_Sender";

}  // namespace

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}

std::string askedName(std::string_view name) {
  return name == kKeepsCapitals ? std::string(name) : lowered(name);
}

std::string mendedName(std::string_view name) {
  return askedName(trimmed(name));
}

// Several dots are no end of a name, but a fault that has no sure remedy.
std::string mendedHost(std::string_view name) {
  std::string_view kept = trimmed(name);
  if (kept.size() > 1 && kept.ends_with('.') && !kept.ends_with("..")) kept.remove_suffix(1);
  return std::string(kept);
}

}  // namespace zrhost
