#pragma once

#include <string>
#include <string_view>

#include "service/Desk.h"

namespace zrservice {

struct AdminReply {
  int status = 200;
  std::string body;  // JSON
};

// Answers what was posted to /ask: {"user": [...], "group": [...], "host": [...], "address": [...], "other": [...],
// "members": true, "default": true}, each as one likes, with what the running service would say and why.
AdminReply answerAsked(const Desk& desk, std::string_view body);

// {"error": TEXT}
std::string errorJson(const std::string& text);

}  // namespace zrservice
