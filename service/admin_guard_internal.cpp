#include "service/admin_guard_internal.h"

#include <algorithm>
#include <arpa/inet.h>
#include <string>
#include <strings.h>

namespace zrservice {
namespace {

struct Route {
  std::string_view method, path;
};
constexpr Route kRoutes[] = {{"GET", "/status"},  {"GET", "/health/live"}, {"GET", "/health/ready"},
                             {"GET", "/metrics"}, {"POST", "/reload"},     {"POST", "/ask"}};

// Names that lead nowhere but here. A page whose own name was made to lead here carries that name.
bool isOwnName(const std::string& name) {
  in_addr address{};
  if (inet_pton(AF_INET, name.c_str(), &address) == 1) return (ntohl(address.s_addr) >> 24U) == 127;
  return name == "[::1]" || strcasecmp(name.c_str(), "localhost") == 0;
}

bool isOwnHost(const std::string& host) {
  const std::size_t end = host.starts_with('[') ? host.find(']') + 1 : host.find(':');
  const std::string name = host.substr(0, end), rest = host.substr(name.size());
  const bool isPort =
      rest.empty() || (rest.size() > 1 && rest[0] == ':' && rest.find_first_not_of("0123456789", 1) == rest.npos);
  return isPort && isOwnName(name);
}

// What is packed may be a thousand times as long as it looks, and what comes in pieces has no length. A form of several
// parts is one that the HTTP library takes apart itself.
Refusal refusalOfBody(const httplib::Request& request) {
  if (request.has_header("Transfer-Encoding")) return {411, "a body needs a Content-Length", {}};
  if (request.has_header("Content-Encoding")) return {415, "a body that is packed is not read", {}};
  if (request.is_multipart_form_data()) return {415, "a form is not read; send JSON", {}};
  return {};
}

}  // namespace

Refusal refusalOf(const httplib::Request& request) {
  if (request.has_header("Origin")) return {403, "web pages are not served", {}};
  if (request.get_header_value_count("Host") != 1) return {400, "there has to be one Host", {}};
  if (!isOwnHost(request.get_header_value("Host")))
    return {403, "the Host is neither localhost nor an address of the loopback", {}};
  const Route* const found = std::ranges::find(kRoutes, request.path, &Route::path);
  if (found == std::end(kRoutes)) return {404, "there is nothing of this name", {}};
  const bool isHead = request.method == "HEAD" && found->method == "GET";
  if (!isHead && found->method != request.method)
    return {405, found->method == "GET" ? "only GET is for this" : "only POST is for this", found->method};
  return refusalOfBody(request);
}

}  // namespace zrservice
