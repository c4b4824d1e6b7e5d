#include "host/policyfile/json_fault_internal.h"

#include <nlohmann/json.hpp>

#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

using Json = nlohmann::json;

// Nothing but the first error is wanted.
struct ErrorFinder : nlohmann::json_sax<Json> {
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return true; }
  bool key(string_t&) override { return true; }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return true; }
  bool end_array() override { return true; }
  bool parse_error(std::size_t position, const std::string&, const Json::exception& error) override {
    constexpr int kNumberOverflow = 406;
    column = position;
    text = error.id == kNumberOverflow ? std::string() : error.what();
    return false;
  }

  std::size_t column = 0;
  std::string text;
};

// Without the exception's name and place, which are shown in our own way.
std::string_view withoutPlace(std::string_view text) {
  const std::size_t column = text.find(", column ");
  const std::size_t colon = text.find(": ", column == std::string_view::npos ? 0 : column);
  return colon == std::string_view::npos ? text : text.substr(colon + 2);
}

}  // namespace

LineFault jsonFault(std::string_view line) {
  constexpr std::size_t mostShown = 200;
  ErrorFinder finder;
  const bool isJson = Json::sax_parse(line.begin(), line.end(), &finder);
  if (isJson || finder.text.empty()) {
    return {finder.column, "a number is far out of range, or objects are nested too deeply"};
  }
  return {finder.column, "no JSON: " + shortened(withoutPlace(finder.text), mostShown)};
}

}  // namespace zrhost
